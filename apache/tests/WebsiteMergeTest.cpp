// Suspension, resumption and update of a site: the merge of a record into its block.
#include <CZPWebsite.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "support/FileCase.h"
#include "support/Files.h"
#include "support/Text.h"
#include "support/Watching.h"

using namespace zp::test;
namespace fs = std::filesystem;

namespace {

using Change = std::function<void(UpdateVHost&)>;
using Operation = std::function<int(const std::string&)>;

const Change EmptyLists = [](UpdateVHost&) {};

UpdateVHost recordWith(const Change& change) {
    UpdateVHost record{};
    record.pDomain = "example.com";
    change(record);
    return record;
}

int suspend(const std::string& file, UpdateVHost& record) {
    return CZPWebsite(nullptr, file.c_str()).EnableMessage(&record);
}
int resume(const std::string& file, UpdateVHost& record) {
    return CZPWebsite(nullptr, file.c_str()).DisableMessage(&record, "/home/example.com");
}
int update(const std::string& file, UpdateVHost& record) {
    return CZPWebsite(nullptr, file.c_str()).UpdateWebsite(&record);
}

using Merge = int (*)(const std::string& file, UpdateVHost& record);

Operation call(Merge merge, const Change& change = EmptyLists) {
    return [=](const std::string& file) {
        UpdateVHost record = recordWith(change);
        return merge(file, record);
    };
}
// With a new record each time.
Operation twice(Merge merge, const Change& change) {
    return [=](const std::string& file) {
        EXPECT_EQ(call(merge, change)(file), 96);
        return call(merge, change)(file);
    };
}

// Marked with "~": empty lines that stay whether or not their block is the site's, since they stand before
// the block's name.
std::string unmarked(std::string text) {
    for (size_t at = 0; (at = text.find("\n~\n", at)) != std::string::npos;) {
        text.erase(at + 1, 1);
    }
    return text;
}

const std::string Head = "# head\n\n \n";
const std::string Other = lines({
    "",
    "<VirtualHost *:80>",
    "\t# ServerName example.com",
    "~",
    "\tServerName other.example",
    "",
    "\tServerAlias www.other.example",
    "</VirtualHost>",
    "#<VirtualHost *:80>",
    "#\tServerName example.com",
    "#</VirtualHost>",
});
const std::string Block = lines({
    "<VirtualHost 10.0.0.5:80>",
    "\tServerAdmin admin@example.com",
    "~",
    "  servername EXAMPLE.com",
    "\tDocumentRoot \"/home/example.com/www/html\" # ours",
    "\tServerAlias www.example.com",
    "\tInclude conf.d/site.conf",
    "\tIncludeOptional conf.d/*.conf",
    "\tDirectoryIndex index.html",
    "\tAlias /icons \"/usr/share/icons\"",
    "\tAlias /Icons /usr/share/other",
    "\tAliasMatch ^/x /y",
    "\tScriptAlias  /cgi-bin/ \"/old/cgi\"  ",
    "\tProxyPass /app http://10.0.0.9/",
    "\tProxyPassReverse /app http://10.0.0.9/",
    "\tRedirect \"/a b\" \"http://a.example/\"",
    "\tRedirect /b http://b.example/",
    "\tErrorDocument 404 /missing.html",
    "#\tServerAlias commented.example.com",
    "\t<Directory \"/home/example.com\">",
    "\t\tDirectoryIndex inner.html",
    "\t</Directory>",
    "",
    " </VirtualHost> # end",
});
const std::string Before = unmarked(Head + Block + Other);

// What remains of the block when the lists are empty.
const std::string Merged = lines({
    "<VirtualHost 10.0.0.5:80>",
    "\tServerAdmin admin@example.com",
    "",
    "  servername EXAMPLE.com",
    "\tDocumentRoot message.htm",
    "\tAlias /icons \"/usr/share/icons\"",
    "\tAlias /Icons /usr/share/other",
    "\tAliasMatch ^/x /y",
    "\tScriptAlias  /cgi-bin/ \"/old/cgi\"  ",
    "\tProxyPass /app http://10.0.0.9/",
    "\tProxyPassReverse /app http://10.0.0.9/",
    "\tRedirect \"/a b\" \"http://a.example/\"",
    "\tRedirect /b http://b.example/",
    "\tErrorDocument 404 /missing.html",
    "#\tServerAlias commented.example.com",
    "\t<Directory \"/home/example.com\">",
    "\t</Directory>",
    "",
    "</VirtualHost>",
});
std::string after(const std::string& block) {
    return withoutEmptyLines(Head) + block + unmarked(withoutEmptyLines(Other));
}

const std::string Resumed = with(Merged, "message.htm", "/home/example.com/www/html");
const std::string Updated = with(with(Merged, "message.htm", "\"/home/example.com/www/html\" # ours"),
                                 "\t</Directory>", "\t\tDirectoryIndex inner.html\n\t</Directory>");

void fill(UpdateVHost& record) {
    record.Alias = {{"/new", "/srv/new"}, {"/icons", "/srv/icons"}, {"/Icons", ""}, {"/gone", ""}};
    record.ScriptAlias = {{"/cgi-bin/", "/srv/cgi"}, {"/cgi2/", "/srv/cgi2"}};
    record.ProxyPass = {{"/app", "http://app.example/"}, {"everse", ""}, {"/next", "http://next.example/"}};
    record.ProxyPassReverse = {{"/app", "http://unused.example/"}};
    record.Redirect = {
        {"/c", "http://c.example/"}, {"/a b", "http://new.example/"}, {"/b http://b.example/", ""}};
    record.ErrorDoc = {{"500", "/sorry.html"}, {"404", "/new.html"}};
    record.ServerAlias = {"one.example", "two.example"};
    record.Include = {"conf.d/a.conf", "conf.d/b.conf"};
    record.DirIndex = {"index.php", "index.html"};
}

// The block when the record was filled.
std::string filled(std::string block, bool asUpdate) {
    const std::pair<std::string, std::string> changes[] = {
        {"\tAlias /icons",
         "\tServerAlias one.example two.example\n\tInclude conf.d/a.conf\n"
         "\tInclude conf.d/b.conf\n\tDirectoryIndex index.php index.html\n\tAlias /icons"},
        {"\"/usr/share/icons\"", "\"/srv/icons\""},
        {"\tAlias /Icons /usr/share/other\n", ""},
        {"\"http://a.example/\"", "\"http://new.example/\""},
        {"\tRedirect /b http://b.example/\n", ""},
        {"/missing.html", "/new.html"},
        {"\n</VirtualHost>",
         std::string("\n\tAlias /new \"/srv/new\"\n\tScriptAlias /cgi2/ \"/srv/cgi2\"\n") +
             (asUpdate ? "\tRedirect /next \"http://next.example/\"\n" : "") +
             "\tRedirect \"/c\" \"http://c.example/\"\n\tErrorDocument 500 /sorry.html\n</VirtualHost>"}};
    for (const auto& [from, to] : changes) {
        block = with(block, from, to);
    }
    if (asUpdate) {
        block =
            with(block, "\tProxyPass /app http://10.0.0.9/\n", "\tRedirect /app \"http://app.example/\"\n");
        block = without(block, "\tProxyPassReverse /app http://10.0.0.9/\n");
    }
    return block;
}

std::string site(const std::string& inner) {
    return "<VirtualHost *>\n\tServerName example.com\n" + inner + "</VirtualHost>\n";
}
const Change OneAlias = [](UpdateVHost& record) { record.ServerAlias = {"a.example"}; };
const Change OneIndex = [](UpdateVHost& record) { record.DirIndex = {"a.html"}; };
const std::string Long(1023, 'x');

const FileCase cases[] = {
    {"SuspendWithEmptyLists", Before, call(suspend), 96, after(Merged)},
    {"ResumeWithEmptyLists", Before, call(resume), 96, after(Resumed)},
    {"UpdateWithEmptyLists", Before, call(update), 96, after(Updated)},
    {"SuspendWithFullLists", Before, call(suspend, fill), 96, after(filled(Merged, false))},
    {"ResumeWithFullLists", Before, call(resume, fill), 96, after(filled(Resumed, false))},
    {"UpdateWithFullLists", Before, call(update, fill), 96, after(filled(Updated, true))},

    {"SuspendOfASuspendedSite", after(Merged), call(suspend), 96},
    {"ResumeOfASuspendedSite", after(Merged), call(resume), 96, after(Resumed)},
    {"UpdateOfASuspendedSiteKeepsItSuspended", site("\tDocumentRoot message.htm\n"), call(update), 96},
    {"UpdateTwiceWithTheSameLists", site(""),
     twice(update,
           [](UpdateVHost& record) {
               OneAlias(record);
               OneIndex(record);
               record.Alias = {{"/a", "/srv/a"}};
               record.ProxyPass = {{"/p", "http://p.example/"}};
               record.Redirect = {{"/r", "http://r.example/"}};
           }),
     96,
     // The proxied path is a redirect by now, written without quotes round its name, and so not found
     // again.
     site("\tAlias /a \"/srv/a\"\n\tRedirect /p \"http://p.example/\"\n\tServerAlias a.example\n"
          "\tDirectoryIndex a.html\n\tRedirect \"/r\" \"http://r.example/\"\n"
          "\tRedirect /p \"http://p.example/\"\n")},

    {"AnAbsentSite", Before, call(suspend, [](auto& record) { record.pDomain = "absent.example"; }), 96,
     unmarked(withoutEmptyLines(Head + Block + Other))},
    {"NoName", "\n" + site("") + site(""), call(update, [](auto& record) { record.pDomain = nullptr; }), 96,
     site("") + site("")},
    {"AnEntryNamesOneLine", site("\tAlias /a /1\n\tAlias /a /2\n\tAlias /a\t/3\n"),
     call(update,
          [](auto& record) {
              record.Alias = {{"/a", ""}};
          }),
     96, site("\tAlias /a /2\n\tAlias /a\t/3\n")},
    {"AQuotedRedirectWithoutItsSecondQuote", site("\tRedirect \"/a\n"),
     call(update,
          [](auto& record) {
              record.Redirect = {{"/a", "/b"}};
          }),
     96, site("\tRedirect \"/a\" \"/b\"\n")},
    {"BareKeywords", site("\tAlias\n\tScriptAlias\n\tRedirect\n\tErrorDocument\n\tDocumentRoot\n"),
     call(suspend), 96,
     site("\tAlias\n\tScriptAlias\n\tRedirect\n\tErrorDocument\n\tDocumentRoot message.htm\n")},
    {"ListsGoIntoTheFirstBlockAndLaterOnesLoseTheirs",
     site("\tServerAlias 1.example\n") + site("\tServerAlias 2.example\n"), call(update, OneAlias), 96,
     site("\tServerAlias a.example\n") + site("")},
    {"ASecondNameDoesNotEndTheBlock", site("ServerName other.example\n\tServerAlias 1.example\n"),
     call(update, OneAlias), 96, site("ServerName other.example\n\tServerAlias a.example\n")},
    {"ABlockWithoutNameRunsIntoNone", "<VirtualHost *>\n\n</VirtualHost>\n\n" + site(""), call(update), 96,
     "<VirtualHost *>\n\n</VirtualHost>\n" + site("")},
    {"UpdateLeavesIndexesWhereASectionIsOpen",
     site("<DirectoryMatch x>\nDirectoryIndex 1\n</DirectoryMatch>\n"), call(update, OneIndex), 96},
    {"UpdateTakesIndexesBehindASection", site("<Directory x>\n</directory> \nDirectoryIndex 1\n"),
     call(update, OneIndex), 96, site("<Directory x>\n</directory> \n\tDirectoryIndex a.html\n")},
    {"SuspendTakesIndexesInASection", site("<Directory x>\nDirectoryIndex 1\n"), call(suspend, OneIndex),
     96, site("<Directory x>\n\tDirectoryIndex a.html\n")},
    {"AnOpenBlockOfTheSiteIsClosed", "<VirtualHost *>\nServerName example.com\n\nListen 1", call(update),
     96, "<VirtualHost *>\nServerName example.com\n\nListen 1\n</VirtualHost>\n"},
    {"AnOpenBlockWithoutNameIsKept", "<VirtualHost *>\n\nListen 1", call(update), 96,
     "<VirtualHost *>\n\nListen 1\n"},
    {"ALineOf1024CharactersEndsTheFile", Long + "\n" + site(Long + "\n" + Long + "x\n") + "Listen 80\n",
     call(update), 96, Long + "\n" + site(Long + "\n")},
    {"ResumeWithoutPath", site("\tDocumentRoot message.htm\n"),
     [](const std::string& file) {
         UpdateVHost record = recordWith(EmptyLists);
         return CZPWebsite(nullptr, file.c_str()).DisableMessage(&record, nullptr);
     },
     96, site("\tDocumentRoot /www/html\n")},
};

}  // namespace

class WebsiteMerge : public ::testing::TestWithParam<FileCase> {};
TEST_P(WebsiteMerge, File) { check(GetParam()); }
INSTANTIATE_TEST_SUITE_P(Operation, WebsiteMerge, ::testing::ValuesIn(cases), byName);

TEST(WebsiteMergeRecord, LosesTheEntriesThatWereWritten) {
    const std::string file = scratch("httpd.conf");
    for (const Merge merge : {suspend, resume, update}) {
        writeFile(file, Before);
        UpdateVHost record = recordWith(fill);
        EXPECT_EQ(merge(file, record), 96);
        ASSERT_EQ(record.Alias.size(), 1U);
        EXPECT_EQ(record.Alias[0].Name, "/gone") << "had no value and no line";
        EXPECT_EQ(record.ProxyPass.size(), merge == update ? 0U : 3U);
        EXPECT_EQ(record.ProxyPassReverse.size(), 1U);
        EXPECT_TRUE(record.ScriptAlias.empty() && record.Redirect.empty() && record.ErrorDoc.empty());
        EXPECT_TRUE(record.ServerAlias.empty() && record.Include.empty() && record.DirIndex.empty());
    }
}

TEST(WebsiteMergeAccessMode, IsForTheRightFolder) {
    const std::string root = scratch("root");
    const std::string folder = scratch("folder");
    const std::string link = scratch("link");
    const std::string quoted = site("\tDocumentRoot \"" + root + "\"\n");
    struct {
        Merge merge;
        std::string text;
        std::string folder;
        const char* rootMode;
        const char* folderMode;
        mode_t mode = 04751;
        const char* domain = "example.com";
    } const rows[] = {
        {suspend, quoted, folder, "4751", "0700"},
        {resume, quoted, folder, "4751", "0700"},
        {update, quoted, folder, "0700", "4751"},
        {update, quoted, folder + "/", "0700", "4751"},
        {update, site(""), folder, "0700", "4751"},
        {update, quoted, "", "4751", "0700"},
        {update, quoted, "/", "4751", "0700"},
        {update, quoted, "/x", "4751", "0700"},
        {update, quoted, "", "0700", "0700", 0},
        {update, quoted, folder, "0700", "0700", 04751, "absent.example"},
        {suspend, site("\tDocumentRoot " + root + "\n"), "", "0700", "0700"},
        {suspend, quoted + site("\tDocumentRoot \"" + folder + "\"\n"), "", "4751", "4751"},
        {update, quoted, link, "0700", "0700"},
        {update, quoted, link + "/", "0700", "0700"},
        {update, quoted, link + "/inner", "0700", "0700"},
        {suspend, site("\tDocumentRoot \"" + link + "\"\n"), "", "0700", "0700"},
        {update, quoted, "/no/such/folder", "0700", "0700"},
    };
    const std::string slash = mode("/");
    fs::create_directories(folder + "/inner");
    fs::create_directories(root);
    fs::create_directory_symlink(folder, link);
    ASSERT_EQ(::lchown(link.c_str(), 4242, 4242), 0);
    ASSERT_EQ(::chown(scratch().c_str(), 4242, 4242), 0);
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text + row.folder);
        for (const std::string& path : {root, folder, folder + "/inner"}) {
            fs::permissions(path, fs::perms(0700));
        }
        writeFile(scratch("httpd.conf"), row.text);
        UpdateVHost record = recordWith(EmptyLists);
        record.pDomain = row.domain;
        record.DirPath = row.folder.empty() ? nullptr : row.folder.c_str();
        record.AccessMode = row.mode;
        EXPECT_EQ(row.merge(scratch("httpd.conf"), record), 96);
        EXPECT_EQ(mode(root), row.rootMode);
        EXPECT_EQ(mode(folder), row.folderMode);
        EXPECT_EQ(mode(folder + "/inner"), "0700");
    }
    EXPECT_EQ(mode("/"), slash);
}
