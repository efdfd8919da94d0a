// What is read of a site.
#include <CZPWebsite.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "support/Files.h"
#include "support/Sites.h"
#include "support/Told.h"
#include "support/Watching.h"

using namespace zp::test;
namespace fs = std::filesystem;

namespace {

// One line for every list that holds something, entries in "|".
std::string shown(const UpdateVHost& record) {
    std::string text;
    const auto show = [&](const char* name, const auto& list, auto entryText) {
        if (!list.empty()) {
            text += name;
            for (const auto& entry : list) {
                text += "|" + entryText(entry);
            }
            text += "|\n";
        }
    };
    const auto pair = [](const NameValueSt& entry) { return entry.Name + "=" + entry.Value; };
    const auto word = [](const std::string& entry) { return entry; };
    show("Alias", record.Alias, pair);
    show("ScriptAlias", record.ScriptAlias, pair);
    show("ProxyPass", record.ProxyPass, pair);
    show("ProxyPassReverse", record.ProxyPassReverse, pair);
    show("Redirect", record.Redirect, pair);
    show("ErrorDoc", record.ErrorDoc, pair);
    show("ServerAlias", record.ServerAlias, word);
    show("Include", record.Include, word);
    show("DirIndex", record.DirIndex, word);
    show("DocRootPath", record.DocRootPath, word);
    return text;
}

std::string site(const std::string& inner) {
    return "<VirtualHost *>\n\tServerName example.com\n" + inner + "</VirtualHost>\n";
}
std::string other(const std::string& beforeName) {
    return "<VirtualHost *>\n" + beforeName +
           "ServerName other.example\nAlias /other /other\n</VirtualHost>\n";
}

struct Row {
    std::string name;
    std::string text;
    std::string expected;
    friend std::ostream& operator<<(std::ostream& out, const Row& row) { return out << row.name; }
};

const std::string EveryList =
    "Alias /a /b\nScriptAlias /a /b\nProxyPass /a /b\nProxyPassReverse /a /b\nRedirect /a /b\n"
    "ErrorDocument 404 /b\nServerAlias a\nInclude a\nDirectoryIndex a\n";
const std::string Long(2999, 'x');

const Row Rows[] = {
    // The panel shows these lists and sends them back: what is missing here is lost at the next update.
    {"EveryDirective",
     site("\tAlias /icons \"/usr/share/icons\" x\n"
          "\tAlias  \"/quoted name\"  /x\n"
          "\tscriptalias /cgi-bin/ /srv/cgi  \n"
          "\tServerAlias a.example  b.example \n\tServerAlias c.example\n"
          "\tInclude  conf.d/a b.conf \n\tIncludeOptional x\n"
          "\tDirectoryIndex index.html index.php\n"
          "\tRedirect \"/a b\" \"http://a.example/\"\n\tRedirect permanent /b http://b.example/\n"
          "\tRedirect \"/open\n\tRedirect /c \"http://c.example/\n"
          "\tErrorDocument 404 \"Not here\"\n\tErrorDocument 500\n\tErrorDocument\n"
          "\tSetEnv Alias x\n"),
     R"(27
> CZPWebsite::GetWebsiteInfo
> TNameValue.Value=/srv/cgi  
Alias|/icons=/usr/share/icons|"/quoted=name"  /x|
ScriptAlias|/cgi-bin/=/srv/cgi  |
Redirect|/a b=http://a.example/|permanent=/b http://b.example/|/open=|/c=http://c.example/|
ErrorDoc|404=Not here|500=|=|
ServerAlias|a.example|b.example|c.example|
Include| conf.d/a b.conf |ptional x|
DirIndex|index.html|index.php|)"},
    // The panel knows one.
    {"OnlyTheFirstProxyPass",
     site("\tProxyPass /a http://a.example/\n\tProxyPass /b http://b.example/\n"
          "\tProxyPassReverse /a http://a.example/\n\tProxyPassReverse /b \"http://b.example/\"\n"),
     R"(27
> CZPWebsite::GetWebsiteInfo
ProxyPass|/a=http://a.example/|
ProxyPassReverse|/a=http://a.example/|/b=http://b.example/|)"},
    // It begins alike: a known false match.
    {"AProxyPassReverseBeforeTheProxyPassIsTakenForOne",
     site("\tProxyPassReverse /a http://a.example/\n\tProxyPass /a http://a.example/\n"), R"(27
> CZPWebsite::GetWebsiteInfo
ProxyPass|everse=/a http://a.example/|)"},
    // A stopped site can be shown.
    {"CommentedLinesCount",
     "#<VirtualHost *>\n# ServerName EXAMPLE.com\n#\tAlias /a /b\n##Alias /c /d\n #Alias /e "
     "/f\n#</VirtualHost>\n",
     R"(27
> CZPWebsite::GetWebsiteInfo
Alias|/a=/b|)"},
    // They are seen before it is known whose they are.
    {"DirectivesBeforeTheNameDoNot",
     "<VirtualHost *>\n" + EveryList + "ServerName example.com\n</VirtualHost>\n", R"(27
> CZPWebsite::GetWebsiteInfo)"},
    // A known oddity of the list of roots.
    {"DocumentRootsOfOtherBlocksStay",
     "DocumentRoot \"/server\"\n" + other("DocumentRoot \"/first\"\n") +
         "<VirtualHost *>\nDocumentRoot /nameless\n</VirtualHost>\n" +
         "<VirtualHost *>\nDocumentRoot \"/before\"\nServerName example.com\nDocumentRoot \"/be hind\" x\n"
         "\tDocumentRoot  message.htm \n    DocumentRoot /indented\nDocumentRoot \"/open\nDocumentRoot\n",
     R"(27
> CZPWebsite::GetWebsiteInfo
DocRootPath|/first|/nameless|/before|/be hind|message.htm |oot /indented|/open||)"},
    // The neighbour's lists must not be sent back as this one's.
    {"NothingOfAnotherSiteIsKept", other("") + site("Alias /a /b\n") + other(""), R"(27
> CZPWebsite::GetWebsiteInfo
Alias|/a=/b|)"},
    // What was read belongs to the last name of the block.
    {"AnotherNameInTheBlockEndsIt", site("Alias /a /b\nServerName other.example\n"), R"(26
> CZPWebsite::GetWebsiteInfo)"},
    // A blank makes it another name.
    {"ANameWithATrailingBlank", "<VirtualHost *>\nServerName example.com \n</VirtualHost>\n", R"(26
> CZPWebsite::GetWebsiteInfo)"},
    // What was read up to the end of the file counts.
    {"ABlockThatIsNeverClosed", "<VirtualHost *>\nServerName example.com\nAlias /a /b", R"(27
> CZPWebsite::GetWebsiteInfo
Alias|/a=/b|)"},
    // No site, and no failure.
    {"AnEmptyFile", "", R"(26
> CZPWebsite::GetWebsiteInfo)"},
    // The bound itself, and one more.
    {"ALineOf3000CharactersEndsTheFile", Long + "\n" + site("Alias /a /b\n" + Long + "x\nAlias /c /d\n"),
     R"(27
> CZPWebsite::GetWebsiteInfo
Alias|/a=/b|)"},
};

class WebsiteInfo : public ::testing::TestWithParam<Row> {};

}  // namespace

TEST_P(WebsiteInfo, Record) {
    const std::string file = scratch("httpd.conf");
    writeFile(file, GetParam().text);
    UpdateVHost record{};
    record.pDomain = "example.com";
    const CapturedOutput output;
    const int result = CZPWebsite(nullptr, file.c_str()).GetWebsiteInfo(&record);
    expectTold(std::to_string(result) + "\n" + printedLines(output.text()) + shown(record),
               GetParam().expected);
    EXPECT_EQ(record.pDomain == nullptr, result == 26);
    EXPECT_EQ(readFile(file), GetParam().text);
}
INSTANTIATE_TEST_SUITE_P(Of, WebsiteInfo, ::testing::ValuesIn(Rows),
                         [](const auto& row) { return row.param.name; });

TEST(WebsiteInfoRecord, OfACreatedSite) {
    const Site created{.parent = scratch("homes/")};
    const std::string root = created.parent + "example.com/www/html";
    fs::create_directories(root);
    fs::permissions(root, fs::perms(04701));
    const std::string file = scratch("httpd.conf");
    writeFile(file, blockOf({.domain = "other.example"}) + blockOf(created));
    UpdateVHost record{};
    record.pDomain = "example.com";
    const CapturedOutput output;
    EXPECT_EQ(CZPWebsite(nullptr, file.c_str()).GetWebsiteInfo(&record), 25);
    EXPECT_EQ(record.AccessMode, 04701U);
    EXPECT_EQ(shown(record), "ServerAlias|www.example.com|\nDocRootPath|" + root + "|\n");
}

TEST(WebsiteInfoRecord, ListsThatWereFilledBefore) {
    const std::string file = scratch("httpd.conf");
    const std::string filled = "Alias|/x=/y|\nProxyPass|/x=/y|\nServerAlias|x|\nDocRootPath|/x|\n";
    const auto read = [&](const std::string& text) {
        writeFile(file, text);
        UpdateVHost record{};
        record.pDomain = nullptr;
        record.Alias = record.ProxyPass = {{"/x", "/y"}};
        record.ServerAlias = record.DocRootPath = {"x"};
        record.DocRootPath = {"/x"};
        const CapturedOutput output;
        EXPECT_EQ(CZPWebsite(nullptr, file.c_str()).GetWebsiteInfo(&record), 26);
        return shown(record);
    };
    EXPECT_EQ(read(""), filled);
    EXPECT_EQ(read(other("")), "ProxyPass|/x=/y|\nDocRootPath|/x|\n");
    EXPECT_EQ(read("<VirtualHost *>\n</VirtualHost>\n"), "ServerAlias|x|\nDocRootPath|/x|\n");
}
