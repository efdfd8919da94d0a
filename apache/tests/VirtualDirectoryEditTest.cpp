// Creating, updating and deleting virtual directories: what becomes of the configuration, and of the host.
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>

#include "support/FileCase.h"
#include "support/Files.h"
#include "support/Sandbox.h"
#include "support/Sites.h"
#include "support/Text.h"
#include "support/VirtualDirectories.h"
#include "support/Watching.h"

using namespace zp::test;
namespace fs = std::filesystem;

namespace {

constexpr const char* Scratch = "/etc/apactemp1";
constexpr const char* Home = "/var/www/example.com";
const std::string SiteUsers = std::string(Home) + "/webusers_example.com.htpasswd";

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

std::string authentication(const std::string& file) {
    return "\t\tAuthType Basic\n\t\tAuthName \"Ristricted Area\"\n\t\tAuthUserFile " + file +
           "\n\t\trequire valid-user\n";
}
constexpr SOptions RunsCgi{0, 0, 0, 0, '+'};
const std::string Perl = "\t\tAddHandler cgi-script cgi pl\n";
const std::string Rails = lines({
    "\t\tAllowOverride none",
    "\t\tAddHandler fastcgi-script .fcgi",
    "\t\tRewriteEngine On",
    "\t\tRewriteRule ^$ index.html [QSA]",
    "\t\tRewriteRule ^([^.]+)$ $1.html [QSA]",
    "\t\tRewriteCond %{REQUEST_FILENAME} !-f",
    "\t\tRewriteRule ^(.*)$ dispatch.fcgi [QSA,L]",
});

using Operation = std::function<int(const std::string&)>;

const std::string VersionPrinted = "major=2\nminor=4\nminorMinor=57\n";
const std::string CreationPrinted = VersionPrinted + "Directory Creation\n";
const std::string UpdatePrinted = "ObjDDir->Order=0\nObjDDir->Allow=" + VersionPrinted;

Operation withVersion(const std::string& version, const Operation& operation) {
    return [=](auto& file) {
        const FakeTools tools;
        pretendVersion(tools, version);
        return operation(file);
    };
}
Operation create(const Directory& directory = {}, int adminFlag = 0) {
    return withVersion("2.4.57", [=](auto& file) { return createDirectory(file, directory, adminFlag); });
}
Operation update(const Directory& directory = {}) {
    return withVersion("2.4.57", [=](auto& file) { return updateDirectory(file, directory); });
}
Operation erase(const std::string& folder = "/home/files") {
    return [=](auto& file) { return deleteDirectory(file, folder); };
}

// Host rules and options, which creation and update write alike.
struct Rules {
    const char* name;
    Directory directory;
    std::string before24, since24;
};
std::ostream& operator<<(std::ostream& out, const Rules& rules) { return out << rules.name; }

const std::string DenyLine = "\t\tDeny from \"10.0.0.1\"\n", AllowLine = "\t\tAllow from \"10.0.0.2\"\n";
const std::string OrderLine = "\t\tOrder Allow,Deny\n";
const std::string Mixed = "\t\tOptions -Indexes +Includes -MultiViews +FollowSymLinks\n";
const Rules rules[] = {
    {"Nothing", {}, "", ""},
    {"Deny", {.deny = "10.0.0.1"}, DenyLine, DenyLine},
    {"Allow", {.allow = "10.0.0.2"}, "", ""},
    {"DenyAllow", {.allow = "10.0.0.2", .deny = "10.0.0.1"}, DenyLine + AllowLine, DenyLine + AllowLine},
    {"Order", {.order = 1}, OrderLine, ""},
    {"OrderDeny", {.deny = "10.0.0.1", .order = '0'}, OrderLine, "\t\tRequire all denied\n"},
    {"OrderAllow", {.allow = "10.0.0.2", .order = 1}, OrderLine + AllowLine, "\t\tRequire all granted\n"},
    {"OrderAllowDeny",
     {.allow = "10.0.0.2", .deny = "10.0.0.1", .order = 1},
     OrderLine + AllowLine + DenyLine,
     "\t\tRequire all granted\n"},
    {"Options", {.options = {'-', '+', '+', '-', 0}}, Mixed, Mixed},
    {"OptionsOfNoSign", {.options = {0, 'x', 0, 0, 0}}, "\t\tOptions\n", "\t\tOptions\n"},
};

const std::string Sundry = lines({
    "<Directory \"/home/files\">",
    "</Directory>",
    "",
    "<VirtualHost 10.0.0.5:80>",
    "    <directory  '/quoted otherwise'>",
    "\t</Directory>",
    "",
    "<DirectoryMatch \"^/home\">",
    "</DirectoryMatch>",
    "\t<Directory \"/HOME/files\">",
    "# <Directory \"",
    "\t</Directory>",
    "\t<Directory \"/home/files\">",
    "#\tkept",
    "\tOptions -Indexes",
    "\t</DirectoryX>",
    "\t<Directory /home/files>",
    "</VirtualHost>",
});
const std::string SundryNormalised = lines({
    "\t<Directory \"/home/files\">",
    "</Directory>",
    "<VirtualHost 10.0.0.5:80>",
    "\t<Directory \"'/quoted otherwise'>\">",
    "\t</Directory>",
    "<DirectoryMatch \"^/home\">",
    "</DirectoryMatch>",
    "\t<Directory \"/HOME/files\">",
    "# <Directory \"",
    "\t</Directory>",
    "\t<Directory \"/home/files\">",
    "#\tkept",
    "\tOptions -Indexes",
    "\t</DirectoryX>",
    "\t<Directory \"/home/files>\">",
    "</VirtualHost>",
});
const std::string SundryWithoutFolder = lines({
    "<VirtualHost 10.0.0.5:80>",
    "\t<Directory \"'/quoted otherwise'>\">",
    "\t</Directory>",
    "<DirectoryMatch \"^/home\">",
    "</DirectoryMatch>",
    "\t<Directory \"/HOME/files\">",
    "# <Directory \"",
    "\t</Directory>",
    "#\tkept",
    "\t<Directory \"/home/files>\">",
    "</VirtualHost>",
});
const std::string Long = "# " + std::string(70'000, 'x') + "\n\tAlias /" + std::string(1'100, 'y') + "\n";
const std::string OtherSite =
    "<VirtualHost *>\nServerName other.example\n\t<Directory x>\n</VirtualHost>\n";

const std::string Open = "<VirtualHost *>\nServerName example.com\n";

const FileCase cases[] = {
    {"CreateTakesTheFolderOfTheDocumentRoot", Bare, create({.folder = ""}), 83,
     Begin + block("", "/var/www/example.com/www") + End + "\n", CreationPrinted},
    {"CreateCutsFiveCharactersOffAnyDocumentRoot",
     "<VirtualHost *>\nDocumentRoot \"/htm\"\nServerName example.com\nDocumentRoot /home/site\n" + End,
     create({.folder = ""}), 83,
     "<VirtualHost *>\nDocumentRoot \"/htm\"\nServerName example.com\nDocumentRoot /home/site\n" +
         block("", "/home") + End + "\n",
     CreationPrinted},
    {"CreateWithoutDocumentRootNamesNoFolder",
     without(Bare, "\tDocumentRoot \"/var/www/example.com/www/html\"\n"), create(), 83,
     without(Begin, "\tDocumentRoot \"/var/www/example.com/www/html\"\n") + block("", "") + End + "\n",
     CreationPrinted},
    {"CreateServesEveryBlockOfTheSiteButNoCommentedOne",
     Bare + "#<VirtualHost *>\n#ServerName example.com\n#</VirtualHost>\n" + Bare, create(), 83,
     Begin + block("") + End + "#<VirtualHost *>\n#ServerName example.com\n#</VirtualHost>\n" + Begin +
         block("") + End + "\n",
     CreationPrinted + "Directory Creation\n"},
    {"CreateKeepsTheFolderForTheNextBlockOfTheSite", Bare + Open + End + OtherSite + Open + End,
     create({.folder = ""}), 83,
     Begin + block("", "/var/www/example.com/www") + End + Open + block("", "/var/www/example.com/www") +
         End + OtherSite + Open + block("", "") + End + "\n",
     CreationPrinted + "Directory Creation\nDirectory Creation\n"},
    {"CreateGoesByTheFirstNameOfABlock",
     with(Bare, "\tServerName EXAMPLE.com", "\tServerName x\n\tServerName example.com"), create(), 83,
     with(Bare, "\tServerName EXAMPLE.com", "\tServerName x\n\tServerName example.com") + "\n",
     VersionPrinted},
    {"CreateForTheAdministratorAddsNothing", Bare + "\n", create({}, 1), 83, Bare + "\n\n", VersionPrinted},
    {"CreateReadsLinesOfAnyLength", Long + Begin + Long + "</VirtualHost>", create(), 83,
     Long + Begin + Long + block("") + "</VirtualHost>\n", CreationPrinted},
    {"CreateMeetsTheFolderInAnotherCase",
     Begin + block("", "/HOME/files") + End,
     create(),
     1,
     {},
     VersionPrinted},
    {"CreateMeetsOneQuote", Begin + "<Directory \"/home>\n" + End, create(), 87, {}, VersionPrinted},
    {"CreateMeetsTheFolderWithoutQuotes", Begin + "<Directory /home/files>\n" + End, create(), 83,
     Begin + "<Directory /home/files>\n" + block("") + End + "\n", CreationPrinted},
    {"CreateWritesPerlByExecCgi", Bare, create({.options = RunsCgi, .rails = '1', .perl = '0'}), 83,
     Begin + block(Perl + "\t\tOptions +ExecCGI\n") + End + "\n", CreationPrinted},
    {"CreateNamesThePasswordFileOfTheSite", Bare, create({.authenticated = '1', .perl = '1'}), 83,
     Begin + block(authentication(SiteUsers)) + End + "\n", CreationPrinted},
    {"CreateLetsEverybodyInAt0", Bare, create({.authenticated = '0'}), 83, Begin + block("") + End + "\n",
     CreationPrinted},
    {"CreateWritesNoLineBreak", Bare, create({.deny = "a\"\nUser root\n#"}), 23, {}, CreationPrinted},

    {"UpdateReplacesTheBlock", Begin + Old + block("", "/home/other") + End + Begin + Old + End,
     update({.folder = "/HOME/Files", .options = RunsCgi, .perl = '0'}), 89,
     Begin + block("\t\tOptions +ExecCGI\n", "/HOME/Files") + block("", "/home/other") + End + Begin + Old +
         End,
     UpdatePrinted},
    {"UpdateWritesPerlAndRailsIntoAnOldBlock", Begin + Old + End,
     update({.authenticated = '1', .rails = '1', .perl = '1'}), 89,
     Begin + block(Perl + authentication("/home/files/webusers.htpasswd") + Rails) + End, UpdatePrinted},
    {"UpdateLetsEverybodyIntoAnOldBlockAt0", Begin + Old + End, update({.authenticated = '0'}), 89,
     Begin + block("") + End, UpdatePrinted},
    {"UpdateAddsABlockToTheFirstOfTheSite", OtherSite + Bare + Bare,
     update({.authenticated = '0', .rails = '1', .perl = '1'}), 89,
     OtherSite + Begin + block(Perl + authentication("/home/files/webusers.htpasswd")) + End + Bare,
     UpdatePrinted},
    {"UpdateLetsEverybodyIntoANewBlockAt1", Bare, update({.authenticated = '1'}), 89,
     Begin + block("") + End, UpdatePrinted},
    {"UpdateNormalisesUpToTheBlock",
     Begin + "<directory\t/a>\n</Directory>\n<DirectoryMatch \"b\n" + Old + "<directory\t/a>\n" + End,
     update(), 89,
     Begin + "\t<Directory \"/a>\">\n</Directory>\n<DirectoryMatch \"b\n" + block("") +
         "<directory\t/a>\n" + End,
     UpdatePrinted},
    {"UpdateNormalisesAWholeSiteWithoutTheBlock", Begin + "<directory\t/a>\n</Directory>\n" + End, update(),
     89, Begin + "\t<Directory \"/a>\">\n</Directory>\n" + block("") + End, UpdatePrinted},
    {"UpdateForgetsABlockThatNeverEndsWithTheNextSite", Open + OtherSite + Bare, update(), 89,
     Open + OtherSite + Begin + block("") + End, UpdatePrinted},
    {"UpdateNamesTheFolderTwiceBehindABlockThatNeverEnds", Open + Open + End, update(), 89,
     Open + Open + block("", "/home/files/home/files") + End, UpdatePrinted},
    {"UpdateOfAnUnknownSite", OtherSite, update(), 89, {}, UpdatePrinted},
    {"UpdateReadsLinesOfAnyLength", Long + Begin + Long + Old + Long + "</VirtualHost>", update(), 89,
     Long + Begin + Long + block("") + Long + "</VirtualHost>\n", UpdatePrinted},
    {"UpdateMeetsOneQuote", Begin + "<Directory \"/home>\n" + Old + End, update(), 87, {}, UpdatePrinted},
    {"UpdateWritesNoLineBreak",
     Begin + Old + End,
     update({.folder = "/home/files\nUser root"}),
     23,
     {},
     UpdatePrinted},

    {"DeleteDropsEveryBlockOfTheFolder", Sundry, erase(), 85, SundryWithoutFolder},
    {"DeleteOfAnUnknownFolderNormalises", Sundry, erase("/absent"), 85, SundryNormalised},
    {"DeleteReadsLinesOfAnyLength", Long + block(Long) + Long + "Listen 80", erase(), 85,
     Long + "# " + std::string(70'000, 'x') + "\n" + Long + "Listen 80\n"},
    {"DeleteMeetsOneQuote", Old + "<Directory \"/home>\n", erase(), 1},
};

}  // namespace

class VirtualDirectoryEdit : public ::testing::TestWithParam<FileCase> {};
TEST_P(VirtualDirectoryEdit, File) {
    check(GetParam());
    EXPECT_FALSE(fs::exists(Scratch));
}
INSTANTIATE_TEST_SUITE_P(Operation, VirtualDirectoryEdit, ::testing::ValuesIn(cases), byName);

class VirtualDirectoryRules : public ::testing::TestWithParam<Rules> {};
TEST_P(VirtualDirectoryRules, AreWrittenAlikeByCreationAndUpdate) {
    const CapturedOutput output;
    const Directory& directory = GetParam().directory;
    const std::string file = scratch("httpd.conf");
    const FakeTools tools;
    const std::pair<const char*, std::string Rules::*> versions[] = {{"none", &Rules::before24},
                                                                     {"2.2.34", &Rules::before24},
                                                                     {"2.4.0", &Rules::since24},
                                                                     {"3.0.1", &Rules::since24}};
    for (const auto& [version, inside] : versions) {
        SCOPED_TRACE(version);
        pretendVersion(tools, version);
        const std::string expected = block(GetParam().*inside);
        writeFile(file, Bare);
        EXPECT_EQ(createDirectory(file, directory), 83);
        EXPECT_EQ(readFile(file), Begin + expected + End + "\n");
        writeFile(file, Bare);
        EXPECT_EQ(updateDirectory(file, directory), 89);
        EXPECT_EQ(readFile(file), Begin + expected + End);
        writeFile(file, Begin + Old + End);
        EXPECT_EQ(updateDirectory(file, directory), 89);
        EXPECT_EQ(readFile(file), Begin + expected + End);
    }
}
INSTANTIATE_TEST_SUITE_P(Every, VirtualDirectoryRules, ::testing::ValuesIn(rules), byName);

TEST(VirtualDirectoryOnCollected, IsMadeAndGone) {
    const CapturedOutput output;
    const std::string file = scratch("httpd.conf");
    const StringVector withoutSite = {"crlf.conf", "empty.conf", "only-comments.conf"};
    for (const std::string& name : collection()) {
        SCOPED_TRACE(name);
        writeFile(file, collected(name));
        EXPECT_EQ(deleteDirectory(file, "/absent"), 85);
        const std::string normalised = readFile(file);
        for (const auto& [make, result] : {std::pair(create(), 83), std::pair(update(), 89)}) {
            writeFile(file, collected(name));
            EXPECT_EQ(make(file), result);
            const bool made = readFile(file).find(block("")) != std::string::npos;
            EXPECT_EQ(made, std::count(withoutSite.begin(), withoutSite.end(), name) == 0);
            EXPECT_EQ(deleteDirectory(file, "/home/files"), 85);
            EXPECT_EQ(readFile(file), normalised);
        }
    }
}
