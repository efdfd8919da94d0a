// Creating, updating and deleting virtual directories: what becomes of the configuration, and of the host.
#include <gtest/gtest.h>

#include <filesystem>
#include <map>

#include "support/FileCase.h"
#include "support/Files.h"
#include "support/Text.h"
#include "support/Told.h"
#include "support/VirtualDirectories.h"
#include "support/Watching.h"

using namespace zp::test;
namespace fs = std::filesystem;

namespace {

constexpr const char* Scratch = "/etc/apactemp1";

const std::string Begin = lines({
    "# The main server",
    "<VirtualHost 10.0.0.6:80>",
    "\tDocumentRoot \"/var/www/other.example/www/html\"",
    "\tServerName other.example",
    "</VirtualHost>",
    "",
    "<VirtualHost 10.0.0.5:80>",
    "\tServerName EXAMPLE.com",
    "\tServerAdmin keeper@example.com",
    "\tDocumentRoot \"/var/www/example.com/www/html\"",
});
const std::string End = "</VirtualHost>\nListen 80\n";
const std::string Bare = Begin + End;

std::string block(const std::string& inside, const std::string& folder = "/home/files") {
    return "\t<Directory \"" + folder + "\">\n" + inside + "\t</Directory>\n";
}
const std::string Old = block("\t\tDeny from all\n#\t\tOptions +Indexes\n\t</Directory >\n\n");

constexpr SOptions RunsCgi{0, 0, 0, 0, '+'};

FileOperation withVersion(const std::string& version, const FileOperation& operation) {
    return [=](auto& file) {
        const FakeTools tools;
        pretendVersion(tools, version);
        return operation(file);
    };
}
FileOperation create(const Directory& directory = {}, int adminFlag = 0) {
    return withVersion("2.4.57", [=](auto& file) { return createDirectory(file, directory, adminFlag); });
}
FileOperation update(const Directory& directory = {}) {
    return withVersion("2.4.57", [=](auto& file) { return updateDirectory(file, directory); });
}
FileOperation erase(const std::string& folder = "/home/files") {
    return [=](auto& file) { return deleteDirectory(file, folder); };
}

// Host rules and options, which creation and update write alike.
struct Rules {
    const char* name;
    Directory directory;
    std::string expected;
};
std::ostream& operator<<(std::ostream& out, const Rules& rules) { return out << rules.name; }

const Rules rules[] = {
    // No rule is no line.
    {"Nothing", {}, R"(in none 2.2.34 2.4.0 3.0.1 
11+	<Directory "/home/files">
12+	</Directory>
15+)"},
    // A denial that is not written opens the directory.
    {"Deny", {.deny = "10.0.0.1"}, R"(in none 2.2.34 2.4.0 3.0.1 
11+	<Directory "/home/files">
12+		Deny from "10.0.0.1"
13+	</Directory>
16+)"},
    // Old and new servers let everybody in without a line.
    {"Allow", {.allow = "10.0.0.2"}, R"(in none 2.2.34 2.4.0 3.0.1 
11+	<Directory "/home/files">
12+	</Directory>
15+)"},
    // The denial stands first.
    {"DenyAllow", {.allow = "10.0.0.2", .deny = "10.0.0.1"}, R"(in none 2.2.34 2.4.0 3.0.1 
11+	<Directory "/home/files">
12+		Deny from "10.0.0.1"
13+		Allow from "10.0.0.2"
14+	</Directory>
17+)"},
    // The order alone says nothing to a new server.
    {"Order", {.order = 1}, R"(in none 2.2.34 
11+	<Directory "/home/files">
12+		Order Allow,Deny
13+	</Directory>
16+
in 2.4.0 3.0.1 
11+	<Directory "/home/files">
12+	</Directory>
15+)"},
    // Who is denied must stay out on old and new servers.
    {"OrderDeny", {.deny = "10.0.0.1", .order = '0'}, R"(in none 2.2.34 
11+	<Directory "/home/files">
12+		Order Allow,Deny
13+	</Directory>
16+
in 2.4.0 3.0.1 
11+	<Directory "/home/files">
12+		Require all denied
13+	</Directory>
16+)"},
    // Each server is told in its own words.
    {"OrderAllow", {.allow = "10.0.0.2", .order = 1}, R"(in none 2.2.34 
11+	<Directory "/home/files">
12+		Order Allow,Deny
13+		Allow from "10.0.0.2"
14+	</Directory>
17+
in 2.4.0 3.0.1 
11+	<Directory "/home/files">
12+		Require all granted
13+	</Directory>
16+)"},
    // A new server is told of the allowance alone: a known limit.
    {"OrderAllowDeny", {.allow = "10.0.0.2", .deny = "10.0.0.1", .order = 1}, R"(in none 2.2.34 
11+	<Directory "/home/files">
12+		Order Allow,Deny
13+		Allow from "10.0.0.2"
14+		Deny from "10.0.0.1"
15+	</Directory>
18+
in 2.4.0 3.0.1 
11+	<Directory "/home/files">
12+		Require all granted
13+	</Directory>
16+)"},
    // Each option that has a sign is written with it, in this order.
    {"Options", {.options = {'-', '+', '+', '-', 0}}, R"(in none 2.2.34 2.4.0 3.0.1 
11+	<Directory "/home/files">
12+		Options -Indexes +Includes -MultiViews +FollowSymLinks
13+	</Directory>
16+)"},
    // What is no sign is left out; the keyword stays.
    {"OptionsOfNoSign", {.options = {0, 'x', 0, 0, 0}}, R"(in none 2.2.34 2.4.0 3.0.1 
11+	<Directory "/home/files">
12+		Options
13+	</Directory>
16+)"},
};

const std::string Sundry = collected("samples/sundry-directory-lines.conf");
const std::string OtherSite =
    "<VirtualHost *>\nServerName other.example\n\t<Directory x>\n</VirtualHost>\n";

const std::string Open = "<VirtualHost *>\nServerName example.com\n";

const FileCase virtualDirectoryEditCases[] = {
    // Without a directory the site's own is meant.
    {"CreateTakesTheFolderOfTheDocumentRoot", Bare, create({.folder = ""}), R"(83
> major=2
> minor=4
> minorMinor=57
> Directory Creation
11+	<Directory "/var/www/example.com/www">
12+	</Directory>
15+)"},
    // What stands for the html directory is cut unseen.
    {"CreateCutsFiveCharactersOffAnyDocumentRoot",
     "<VirtualHost *>\nDocumentRoot \"/htm\"\nServerName example.com\nDocumentRoot /home/site\n" + End,
     create({.folder = ""}), R"(83, chatter
5+	<Directory "/home">
6+	</Directory>
9+)"},
    // Without a root there is no directory to name: a known surprise.
    {"CreateWithoutDocumentRootNamesNoFolder",
     without(Bare, "\tDocumentRoot \"/var/www/example.com/www/html\"\n"), create(), R"(83, chatter
10+	<Directory "">
11+	</Directory>
14+)"},
    // Both ports are protected alike.
    {"CreateServesEveryBlockOfTheSiteButNoCommentedOne",
     Bare + "#<VirtualHost *>\n#ServerName example.com\n#</VirtualHost>\n" + Bare, create(), R"(83
> major=2
> minor=4
> minorMinor=57
> Directory Creation
> Directory Creation
11,28+	<Directory "/home/files">
12,29+	</Directory>
32+)"},
    // A block of the site without a root takes the one of the block before.
    {"CreateKeepsTheFolderForTheNextBlockOfTheSite", Bare + Open + End + OtherSite + Open + End,
     create({.folder = ""}), R"(83
> major=2
> minor=4
> minorMinor=57
> Directory Creation
> Directory Creation
> Directory Creation
11,17+	<Directory "/var/www/example.com/www">
12,18,28+	</Directory>
27+	<Directory "">
31+)"},
    // But never a neighbour's.
    {"CreateForgetsTheFolderAtAnotherName",
     Bare + "<VirtualHost *>\nServerName other.example\n" + Open + End, create({.folder = ""}),
     R"(83, chatter
11+	<Directory "/var/www/example.com/www">
12,20+	</Directory>
19+	<Directory "">
23+)"},
    // Told that the administrator asks, it writes nothing but the file's own end.
    {"CreateForTheAdministratorAddsNothing", Bare + "\n", create({}, 1), R"(83
> major=2
> minor=4
> minorMinor=57
14+)"},
    // A second block for one directory would hide the first.
    {"CreateMeetsTheFolderInAnotherCase", Begin + block("", "/HOME/files") + End, create(), "1, chatter"},
    // Half a quote ends the call with a result of its own.
    {"CreateMeetsOneQuote", Begin + "<Directory \"/home>\n" + End, create(), "87, chatter"},
    // An unquoted directory is not met: a known limit.
    {"CreateMeetsTheFolderWithoutQuotes", Begin + "<Directory /home/files>\n" + End, create(),
     R"(83, chatter
12+	<Directory "/home/files">
13+	</Directory>
16+)"},
    // The option decides, and not the field for Perl.
    {"CreateWritesPerlByExecCgi", Bare, create({.options = RunsCgi, .rails = '1', .perl = '0'}),
     R"(83, chatter
11+	<Directory "/home/files">
12+		AddHandler cgi-script cgi pl
13+		Options +ExecCGI
14+	</Directory>
17+)"},
    // The wrong file would let another site's users in.
    {"CreateNamesThePasswordFileOfTheSite", Bare, create({.authenticated = '1', .perl = '1'}),
     R"(83, chatter
11+	<Directory "/home/files">
12+		AuthType Basic
13+		AuthName "Ristricted Area"
14+		AuthUserFile /var/www/example.com/webusers_example.com.htpasswd
15+		require valid-user
16+	</Directory>
19+)"},
    // No password is asked where none is wanted.
    {"CreateLetsEverybodyInAt0", Bare, create({.authenticated = '0'}), R"(83, chatter
11+	<Directory "/home/files">
12+	</Directory>
15+)"},
    // A host's name must not bring a directive along.
    {"CreateWritesNoLineBreak", Bare, create({.deny = "a\"\nUser root\n#"}), "23, chatter"},
    // Only the named directory's rules change, found in any letter case.
    {"UpdateReplacesTheBlock", Begin + Old + block("", "/home/other") + End + Begin + Old + End,
     update({.folder = "/HOME/Files", .options = RunsCgi, .perl = '0'}), R"(89
> ObjDDir->Order=0
> ObjDDir->Allow=major=2
> minor=4
> minorMinor=57
11-	<Directory "/home/files">
12-		Deny from all
13-#		Options +Indexes
14-	</Directory >
15-
11+	<Directory "/HOME/Files">
12+		Options +ExecCGI)"},
    // Every feature is written again, or it would be lost.
    {"UpdateWritesPerlAndRailsIntoAnOldBlock", Begin + Old + End,
     update({.authenticated = '1', .rails = '1', .perl = '1'}), R"(89, chatter
12-		Deny from all
13-#		Options +Indexes
14-	</Directory >
15-
12+		AddHandler cgi-script cgi pl
13+		AuthType Basic
14+		AuthName "Ristricted Area"
15+		AuthUserFile /home/files/webusers.htpasswd
16+		require valid-user
17+		AllowOverride none
18+		AddHandler fastcgi-script .fcgi
19+		RewriteEngine On
20+		RewriteRule ^$ index.html [QSA]
21+		RewriteRule ^([^.]+)$ $1.html [QSA]
22+		RewriteCond %{REQUEST_FILENAME} !-f
23+		RewriteRule ^(.*)$ dispatch.fcgi [QSA,L])"},
    // The protection goes when it is asked to.
    {"UpdateLetsEverybodyIntoAnOldBlockAt0", Begin + Old + End, update({.authenticated = '0'}),
     R"(89, chatter
12-		Deny from all
13-#		Options +Indexes
14-	</Directory >
15-)"},
    // A directory without a block gets one, once.
    {"UpdateAddsABlockToTheFirstOfTheSite", OtherSite + Bare + Bare,
     update({.authenticated = '0', .rails = '1', .perl = '1'}), R"(89, chatter
15+	<Directory "/home/files">
16+		AddHandler cgi-script cgi pl
17+		AuthType Basic
18+		AuthName "Ristricted Area"
19+		AuthUserFile /home/files/webusers.htpasswd
20+		require valid-user
21+	</Directory>)"},
    // Said by the field's value, a known oddity.
    {"UpdateLetsEverybodyIntoANewBlockAt1", Bare, update({.authenticated = '1'}), R"(89, chatter
11+	<Directory "/home/files">
12+	</Directory>)"},
    // Tags before the block are written anew, those behind it are not.
    {"UpdateNormalisesUpToTheBlock",
     Begin + "<directory\t/a>\n</Directory>\n<DirectoryMatch \"b\n" + Old + "<directory\t/a>\n" + End,
     update(), R"(89, chatter
11-<directory	/a>
11+	<Directory "/a>">
15-		Deny from all
16-#		Options +Indexes
17-	</Directory >
18-)"},
    // Without the block it goes on to the site's end.
    {"UpdateNormalisesAWholeSiteWithoutTheBlock", Begin + "<directory\t/a>\n</Directory>\n" + End, update(),
     R"(89, chatter
11-<directory	/a>
11+	<Directory "/a>">
13+	<Directory "/home/files">
14+	</Directory>)"},
    // The next site's lines are not taken for this one's.
    {"UpdateForgetsABlockThatNeverEndsWithTheNextSite", Open + OtherSite + Bare, update(), R"(89, chatter
17+	<Directory "/home/files">
18+	</Directory>)"},
    // A known oddity, which stays within the site.
    {"UpdateNamesTheFolderTwiceBehindABlockThatNeverEnds", Open + Open + End, update(), R"(89, chatter
5+	<Directory "/home/files/home/files">
6+	</Directory>)"},
    // The server of this version is told in its own words.
    {"UpdateSaysOrderAndAllow", Bare, update({.allow = "10.0.0.2", .order = 1}), R"(89
> ObjDDir->Order=1
> ObjDDir->Allow=10.0.0.2major=2
> minor=4
> minorMinor=57
11+	<Directory "/home/files">
12+		Require all granted
13+	</Directory>)"},
    // Half a quote ends the call with a result of its own.
    {"UpdateMeetsOneQuote", Begin + "<Directory \"/home>\n" + Old + End, update(), "87, chatter"},
    // A directory's name must not bring a directive along.
    {"UpdateWritesNoLineBreak", Begin + Old + End, update({.folder = "/home/files\nUser root"}),
     "23, chatter"},
    // No rule of the directory is left behind.
    {"DeleteDropsEveryBlockOfTheFolder", Sundry, erase(), R"(85
1-<Directory "/home/files">
2-</Directory>
3,7-
5-    <directory  '/quoted otherwise'>
2+	<Directory "'/quoted otherwise'>">
13-	<Directory "/home/files">
15-	Options -Indexes
16-	</DirectoryX>
17-	<Directory /home/files>
10+	<Directory "/home/files>">)"},
    // Nobody's rules go.
    {"DeleteOfAnUnknownFolderNormalises", Sundry, erase("/absent"), R"(85
1-<Directory "/home/files">
1+	<Directory "/home/files">
3,7-
5-    <directory  '/quoted otherwise'>
4+	<Directory "'/quoted otherwise'>">
17-	<Directory /home/files>
15+	<Directory "/home/files>">)"},
    // Half a quote ends the call with a result of its own.
    {"DeleteMeetsOneQuote", Old + "<Directory \"/home>\n", erase(), "1"},
};

}  // namespace

class VirtualDirectoryEdit : public ::testing::TestWithParam<FileCase> {};
TEST_P(VirtualDirectoryEdit, File) {
    check(GetParam());
    EXPECT_FALSE(fs::exists(Scratch));
}
INSTANTIATE_TEST_SUITE_P(Operation, VirtualDirectoryEdit, ::testing::ValuesIn(virtualDirectoryEditCases),
                         byName);

class VirtualDirectoryRules : public ::testing::TestWithParam<Rules> {};
TEST_P(VirtualDirectoryRules, AreWrittenAlikeByCreationAndUpdate) {
    const CapturedOutput output;
    const Directory& directory = GetParam().directory;
    const std::string file = scratch("httpd.conf");
    const FakeTools tools;
    std::map<std::string, std::string> versions;  // what is added, and where
    for (const char* version : {"none", "2.2.34", "2.4.0", "3.0.1"}) {
        pretendVersion(tools, version);
        writeFile(file, Bare);
        EXPECT_EQ(createDirectory(file, directory), 83);
        const std::string created = readFile(file);
        versions[changes(Bare, created)] += std::string(version) + " ";
        for (const std::string& before : {Bare, Begin + Old + End}) {
            writeFile(file, before);
            EXPECT_EQ(updateDirectory(file, directory), 89);
            EXPECT_EQ(readFile(file) + "\n", created) << version;
        }
    }
    std::string told;
    for (const auto& [added, where] : versions) {
        told += "in " + where + "\n" + added;
    }
    expectTold(told, GetParam().expected);
}
INSTANTIATE_TEST_SUITE_P(Every, VirtualDirectoryRules, ::testing::ValuesIn(rules), byName);
