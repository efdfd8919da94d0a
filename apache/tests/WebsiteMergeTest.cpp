// Suspension, resumption and update of a site: the merge of a record into its block.
#include <CZPWebsite.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "support/FileCase.h"
#include "support/Files.h"

using namespace zp::test;
namespace fs = std::filesystem;

namespace {

using Change = std::function<void(UpdateVHost&)>;
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

FileOperation call(Merge merge, const Change& change = EmptyLists) {
    return [=](const std::string& file) {
        UpdateVHost record = recordWith(change);
        return merge(file, record);
    };
}

const std::string Before = collected("samples/site-to-merge.conf");

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

std::string site(const std::string& inner) {
    return "<VirtualHost *>\n\tServerName example.com\n" + inner + "</VirtualHost>\n";
}
const Change OneAlias = [](UpdateVHost& record) { record.ServerAlias = {"a.example"}; };
const Change OneIndex = [](UpdateVHost& record) { record.DirIndex = {"a.html"}; };

const FileCase cases[] = {
    {"SuspendWithEmptyLists", Before, call(suspend)},
    {"ResumeWithEmptyLists", Before, call(resume)},
    {"UpdateWithEmptyLists", Before, call(update)},
    {"SuspendWithFullLists", Before, call(suspend, fill)},
    {"ResumeWithFullLists", Before, call(resume, fill)},
    {"UpdateWithFullLists", Before, call(update, fill)},
    {"SuspendOfASuspendedSite", Before, twice(call(suspend))},
    {"ResumeOfASuspendedSite", Before, inTurn(call(suspend), call(resume))},
    {"UpdateOfASuspendedSiteKeepsItSuspended", site("\tDocumentRoot message.htm\n"), call(update)},
    {"UpdateTwiceWithTheSameLists", site(""),
     twice(call(update,
                [](UpdateVHost& record) {
                    OneAlias(record);
                    OneIndex(record);
                    record.Alias = {{"/a", "/srv/a"}};
                    record.ProxyPass = {{"/p", "http://p.example/"}};
                    record.Redirect = {{"/r", "http://r.example/"}};
                }))},
    {"AnAbsentSite", Before, call(suspend, [](auto& record) { record.pDomain = "absent.example"; })},
    {"NoName", "\n" + site("") + site(""), call(update, [](auto& record) { record.pDomain = nullptr; })},
    {"AnEntryNamesOneLine", site("\tAlias /a /1\n\tAlias /a /2\n\tAlias /a\t/3\n"),
     call(update,
          [](auto& record) {
              record.Alias = {{"/a", ""}};
          })},
    {"AQuotedRedirectWithoutItsSecondQuote", site("\tRedirect \"/a\n"),
     call(update,
          [](auto& record) {
              record.Redirect = {{"/a", "/b"}};
          })},
    {"BareKeywords", site("\tAlias\n\tScriptAlias\n\tRedirect\n\tErrorDocument\n\tDocumentRoot\n"),
     call(suspend)},
    {"ListsGoIntoTheFirstBlockAndLaterOnesLoseTheirs",
     site("\tServerAlias 1.example\n") + site("\tServerAlias 2.example\n"), call(update, OneAlias)},
    {"ASecondNameDoesNotEndTheBlock", site("ServerName other.example\n\tServerAlias 1.example\n"),
     call(update, OneAlias)},
    {"ABlockWithoutNameRunsIntoNone", "<VirtualHost *>\n\n</VirtualHost>\n\n" + site(""), call(update)},
    {"UpdateLeavesIndexesWhereASectionIsOpen",
     site("<DirectoryMatch x>\nDirectoryIndex 1\n</DirectoryMatch>\n"), call(update, OneIndex)},
    {"UpdateTakesIndexesBehindASection", site("<Directory x>\n</directory> \nDirectoryIndex 1\n"),
     call(update, OneIndex)},
    {"SuspendTakesIndexesInASection", site("<Directory x>\nDirectoryIndex 1\n"), call(suspend, OneIndex)},
    {"AnOpenBlockOfTheSiteIsClosed", "<VirtualHost *>\nServerName example.com\n\nListen 1", call(update)},
    {"AnOpenBlockOfTheSiteDoesNotTakeTheNextSite",
     "<VirtualHost *>\nServerName example.com\n<VirtualHost *>\nServerName other.example\n"
     "DocumentRoot \"/other\"\n</VirtualHost>\n",
     call(suspend)},
    {"AnOpenBlockWithoutNameIsKept", "<VirtualHost *>\n\nListen 1", call(update)},
    {"ResumeWithoutPath", site("\tDocumentRoot message.htm\n"),
     [](const std::string& file) {
         UpdateVHost record = recordWith(EmptyLists);
         return CZPWebsite(nullptr, file.c_str()).DisableMessage(&record, nullptr);
     }},
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
