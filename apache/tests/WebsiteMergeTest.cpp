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

const FileCase websiteMergeCases[] = {
    // A suspended site shows the message and keeps nothing that leads past it.
    {"SuspendWithEmptyLists", Before, call(suspend), R"(96
2,28,33-
8-	DocumentRoot "/home/example.com/www/html" # ours
9-	ServerAlias www.example.com
10-	Include conf.d/site.conf
11-	IncludeOptional conf.d/*.conf
12-	DirectoryIndex index.html
7+	DocumentRoot message.htm
24-		DirectoryIndex inner.html
27- </VirtualHost> # end
21+</VirtualHost>)"},
    // The site's own root is back.
    {"ResumeWithEmptyLists", Before, call(resume), R"(96
2,28,33-
8-	DocumentRoot "/home/example.com/www/html" # ours
9-	ServerAlias www.example.com
10-	Include conf.d/site.conf
11-	IncludeOptional conf.d/*.conf
12-	DirectoryIndex index.html
7+	DocumentRoot /home/example.com/www/html
24-		DirectoryIndex inner.html
27- </VirtualHost> # end
21+</VirtualHost>)"},
    // What the record does not hold is gone from the site: the panel sends everything.
    {"UpdateWithEmptyLists", Before, call(update), R"(96
2,28,33-
9-	ServerAlias www.example.com
10-	Include conf.d/site.conf
11-	IncludeOptional conf.d/*.conf
12-	DirectoryIndex index.html
27- </VirtualHost> # end
22+</VirtualHost>)"},
    // The record's lines are written, in the order of the panel.
    {"SuspendWithFullLists", Before, call(suspend, fill), R"(96
2,28,33-
8-	DocumentRoot "/home/example.com/www/html" # ours
9-	ServerAlias www.example.com
10-	Include conf.d/site.conf
11-	IncludeOptional conf.d/*.conf
12-	DirectoryIndex index.html
13-	Alias /icons "/usr/share/icons"
14-	Alias /Icons /usr/share/other
7+	DocumentRoot message.htm
8+	ServerAlias one.example two.example
9+	Include conf.d/a.conf
10+	Include conf.d/b.conf
11+	DirectoryIndex index.php index.html
12+	Alias /icons "/srv/icons"
19-	Redirect "/a b" "http://a.example/"
20-	Redirect /b http://b.example/
21-	ErrorDocument 404 /missing.html
17+	Redirect "/a b" "http://new.example/"
18+	ErrorDocument 404 /new.html
24-		DirectoryIndex inner.html
27- </VirtualHost> # end
23+	Alias /new "/srv/new"
24+	ScriptAlias /cgi2/ "/srv/cgi2"
25+	Redirect "/c" "http://c.example/"
26+	ErrorDocument 500 /sorry.html
27+</VirtualHost>)"},
    // The same with the root of the site.
    {"ResumeWithFullLists", Before, call(resume, fill), R"(96
2,28,33-
8-	DocumentRoot "/home/example.com/www/html" # ours
9-	ServerAlias www.example.com
10-	Include conf.d/site.conf
11-	IncludeOptional conf.d/*.conf
12-	DirectoryIndex index.html
13-	Alias /icons "/usr/share/icons"
14-	Alias /Icons /usr/share/other
7+	DocumentRoot /home/example.com/www/html
8+	ServerAlias one.example two.example
9+	Include conf.d/a.conf
10+	Include conf.d/b.conf
11+	DirectoryIndex index.php index.html
12+	Alias /icons "/srv/icons"
19-	Redirect "/a b" "http://a.example/"
20-	Redirect /b http://b.example/
21-	ErrorDocument 404 /missing.html
17+	Redirect "/a b" "http://new.example/"
18+	ErrorDocument 404 /new.html
24-		DirectoryIndex inner.html
27- </VirtualHost> # end
23+	Alias /new "/srv/new"
24+	ScriptAlias /cgi2/ "/srv/cgi2"
25+	Redirect "/c" "http://c.example/"
26+	ErrorDocument 500 /sorry.html
27+</VirtualHost>)"},
    // The same with its root untouched.
    {"UpdateWithFullLists", Before, call(update, fill), R"(96
2,28,33-
9-	ServerAlias www.example.com
10-	Include conf.d/site.conf
11-	IncludeOptional conf.d/*.conf
12-	DirectoryIndex index.html
13-	Alias /icons "/usr/share/icons"
14-	Alias /Icons /usr/share/other
8+	ServerAlias one.example two.example
9+	Include conf.d/a.conf
10+	Include conf.d/b.conf
11+	DirectoryIndex index.php index.html
12+	Alias /icons "/srv/icons"
17-	ProxyPass /app http://10.0.0.9/
18-	ProxyPassReverse /app http://10.0.0.9/
19-	Redirect "/a b" "http://a.example/"
20-	Redirect /b http://b.example/
21-	ErrorDocument 404 /missing.html
15+	Redirect /app "http://app.example/"
16+	Redirect "/a b" "http://new.example/"
17+	ErrorDocument 404 /new.html
27- </VirtualHost> # end
23+	Alias /new "/srv/new"
24+	ScriptAlias /cgi2/ "/srv/cgi2"
25+	Redirect /next "http://next.example/"
26+	Redirect "/c" "http://c.example/"
27+	ErrorDocument 500 /sorry.html
28+</VirtualHost>)"},
    // A repeated request does no harm.
    {"SuspendOfASuspendedSite", Before, twice(call(suspend)), R"(96096
2,28,33-
8-	DocumentRoot "/home/example.com/www/html" # ours
9-	ServerAlias www.example.com
10-	Include conf.d/site.conf
11-	IncludeOptional conf.d/*.conf
12-	DirectoryIndex index.html
7+	DocumentRoot message.htm
24-		DirectoryIndex inner.html
27- </VirtualHost> # end
21+</VirtualHost>)"},
    // Suspended and resumed is as before.
    {"ResumeOfASuspendedSite", Before, inTurn(call(suspend), call(resume)), R"(96096
2,28,33-
8-	DocumentRoot "/home/example.com/www/html" # ours
9-	ServerAlias www.example.com
10-	Include conf.d/site.conf
11-	IncludeOptional conf.d/*.conf
12-	DirectoryIndex index.html
7+	DocumentRoot /home/example.com/www/html
24-		DirectoryIndex inner.html
27- </VirtualHost> # end
21+</VirtualHost>)"},
    // An update must not open a closed site.
    {"UpdateOfASuspendedSiteKeepsItSuspended", site("\tDocumentRoot message.htm\n"), call(update), "96"},
    // Lists do not grow by being sent again; the proxy's line does, a known surprise.
    {"UpdateTwiceWithTheSameLists", site(""),
     twice(call(update,
                [](UpdateVHost& record) {
                    OneAlias(record);
                    OneIndex(record);
                    record.Alias = {{"/a", "/srv/a"}};
                    record.ProxyPass = {{"/p", "http://p.example/"}};
                    record.Redirect = {{"/r", "http://r.example/"}};
                })),
     R"(96096
3+	Alias /a "/srv/a"
4,8+	Redirect /p "http://p.example/"
5+	ServerAlias a.example
6+	DirectoryIndex a.html
7+	Redirect "/r" "http://r.example/")"},
    // An unknown name changes nobody's lines.
    {"AnAbsentSite", Before, call(suspend, [](auto& record) { record.pDomain = "absent.example"; }), R"(96
2,26,28,33-)"},
    // Nor does none.
    {"NoName", "\n" + site("") + site(""), call(update, [](auto& record) { record.pDomain = nullptr; }),
     R"(96
1-)"},
    // One entry deletes one line, and the rest is the administrator's.
    {"AnEntryNamesOneLine", site("\tAlias /ab /0\n\tAlias /a /1\n\tAlias /a /2\n\tAlias /a\t/3\n"),
     call(update,
          [](auto& record) {
              record.Alias = {{"/a", ""}};
          }),
     R"(96
4-	Alias /a /1)"},
    // Half its quotes do not hide a path.
    {"AQuotedRedirectWithoutItsSecondQuote", site("\tRedirect \"/a\n"),
     call(update,
          [](auto& record) {
              record.Redirect = {{"/a", "/b"}};
          }),
     R"(96
3-	Redirect "/a
3+	Redirect "/a" "/b")"},
    // A keyword without values must not end the program.
    {"BareKeywords", site("\tAlias\n\tScriptAlias\n\tRedirect\n\tErrorDocument\n\tDocumentRoot\n"),
     call(suspend), R"(96
7-	DocumentRoot
7+	DocumentRoot message.htm)"},
    // The later block would win otherwise.
    {"ListsGoIntoTheFirstBlockAndLaterOnesLoseTheirs",
     site("\tServerAlias 1.example\n") + site("\tServerAlias 2.example\n"), call(update, OneAlias), R"(96
3-	ServerAlias 1.example
3+	ServerAlias a.example
7-	ServerAlias 2.example)"},
    // A block with two names is one site.
    {"ASecondNameDoesNotEndTheBlock", site("ServerName other.example\n\tServerAlias 1.example\n"),
     call(update, OneAlias), R"(96
4-	ServerAlias 1.example
4+	ServerAlias a.example)"},
    // A nameless block must not take the next site's lines.
    {"ABlockWithoutNameRunsIntoNone", "<VirtualHost *>\n\n</VirtualHost>\n\n" + site(""), call(update),
     R"(96
4-)"},
    // An index of a directory is not the site's.
    {"UpdateLeavesIndexesWhereASectionIsOpen",
     site("<DirectoryMatch x>\nDirectoryIndex 1\n</DirectoryMatch>\n"), call(update, OneIndex), "96"},
    // Behind it, it is.
    {"UpdateTakesIndexesBehindASection", site("<Directory x>\n</directory> \nDirectoryIndex 1\n"),
     call(update, OneIndex), R"(96
5-DirectoryIndex 1
5+	DirectoryIndex a.html)"},
    // A suspended site shows no index at all.
    {"SuspendTakesIndexesInASection", site("<Directory x>\nDirectoryIndex 1\n"), call(suspend, OneIndex),
     R"(96
4-DirectoryIndex 1
4+	DirectoryIndex a.html)"},
    // The result is a file that the server can read.
    {"AnOpenBlockOfTheSiteIsClosed", "<VirtualHost *>\nServerName example.com\n\nListen 1", call(update),
     R"(96
4-Listen 1 (no newline)
4+Listen 1
5+</VirtualHost>)"},
    // The neighbour's root must not become the message.
    {"AnOpenBlockOfTheSiteDoesNotTakeTheNextSite",
     "<VirtualHost *>\nServerName example.com\n<VirtualHost *>\nServerName other.example\n"
     "DocumentRoot \"/other\"\n</VirtualHost>\n",
     call(suspend), "96"},
    // What somebody left half written is not lost.
    {"AnOpenBlockWithoutNameIsKept", "<VirtualHost *>\n\nListen 1", call(update), R"(96
3-Listen 1 (no newline)
3+Listen 1)"},
    // A null pointer is an empty path.
    {"ResumeWithoutPath", site("\tDocumentRoot message.htm\n"),
     [](const std::string& file) {
         UpdateVHost record = recordWith(EmptyLists);
         return CZPWebsite(nullptr, file.c_str()).DisableMessage(&record, nullptr);
     },
     R"(96
3-	DocumentRoot message.htm
3+	DocumentRoot /www/html)"},
};

}  // namespace

class WebsiteMerge : public ::testing::TestWithParam<FileCase> {};
TEST_P(WebsiteMerge, File) { check(GetParam()); }
INSTANTIATE_TEST_SUITE_P(Operation, WebsiteMerge, ::testing::ValuesIn(websiteMergeCases), byName);

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
    for (const std::string& path : {scratch(), folder}) {
        ASSERT_EQ(::chown(path.c_str(), 4242, 4242), 0);
    }
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
