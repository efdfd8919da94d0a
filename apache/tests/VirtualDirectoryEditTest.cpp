// Creating, updating and deleting virtual directories: what becomes of the configuration, and of the host.
#include <gtest/gtest.h>

#include <filesystem>
#include <map>

#include "support/FileCase.h"
#include "support/Files.h"
#include "support/Text.h"
#include "support/Transcript.h"
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
};
std::ostream& operator<<(std::ostream& out, const Rules& rules) { return out << rules.name; }

const Rules rules[] = {
    {"Nothing", {}},
    {"Deny", {.deny = "10.0.0.1"}},
    {"Allow", {.allow = "10.0.0.2"}},
    {"DenyAllow", {.allow = "10.0.0.2", .deny = "10.0.0.1"}},
    {"Order", {.order = 1}},
    {"OrderDeny", {.deny = "10.0.0.1", .order = '0'}},
    {"OrderAllow", {.allow = "10.0.0.2", .order = 1}},
    {"OrderAllowDeny", {.allow = "10.0.0.2", .deny = "10.0.0.1", .order = 1}},
    {"Options", {.options = {'-', '+', '+', '-', 0}}},
    {"OptionsOfNoSign", {.options = {0, 'x', 0, 0, 0}}},
};

const std::string Sundry = collected("samples/sundry-directory-lines.conf");
const std::string OtherSite =
    "<VirtualHost *>\nServerName other.example\n\t<Directory x>\n</VirtualHost>\n";

const std::string Open = "<VirtualHost *>\nServerName example.com\n";

const FileCase cases[] = {
    {"CreateTakesTheFolderOfTheDocumentRoot", Bare, create({.folder = ""})},
    {"CreateCutsFiveCharactersOffAnyDocumentRoot",
     "<VirtualHost *>\nDocumentRoot \"/htm\"\nServerName example.com\nDocumentRoot /home/site\n" + End,
     create({.folder = ""})},
    {"CreateWithoutDocumentRootNamesNoFolder",
     without(Bare, "\tDocumentRoot \"/var/www/example.com/www/html\"\n"), create()},
    {"CreateServesEveryBlockOfTheSiteButNoCommentedOne",
     Bare + "#<VirtualHost *>\n#ServerName example.com\n#</VirtualHost>\n" + Bare, create()},
    {"CreateKeepsTheFolderForTheNextBlockOfTheSite", Bare + Open + End + OtherSite + Open + End,
     create({.folder = ""})},
    {"CreateForgetsTheFolderAtAnotherName",
     Bare + "<VirtualHost *>\nServerName other.example\n" + Open + End, create({.folder = ""})},
    {"CreateForTheAdministratorAddsNothing", Bare + "\n", create({}, 1)},
    {"CreateMeetsTheFolderInAnotherCase", Begin + block("", "/HOME/files") + End, create()},
    {"CreateMeetsOneQuote", Begin + "<Directory \"/home>\n" + End, create()},
    {"CreateMeetsTheFolderWithoutQuotes", Begin + "<Directory /home/files>\n" + End, create()},
    {"CreateWritesPerlByExecCgi", Bare, create({.options = RunsCgi, .rails = '1', .perl = '0'})},
    {"CreateNamesThePasswordFileOfTheSite", Bare, create({.authenticated = '1', .perl = '1'})},
    {"CreateLetsEverybodyInAt0", Bare, create({.authenticated = '0'})},
    {"CreateWritesNoLineBreak", Bare, create({.deny = "a\"\nUser root\n#"})},
    {"UpdateReplacesTheBlock", Begin + Old + block("", "/home/other") + End + Begin + Old + End,
     update({.folder = "/HOME/Files", .options = RunsCgi, .perl = '0'})},
    {"UpdateWritesPerlAndRailsIntoAnOldBlock", Begin + Old + End,
     update({.authenticated = '1', .rails = '1', .perl = '1'})},
    {"UpdateLetsEverybodyIntoAnOldBlockAt0", Begin + Old + End, update({.authenticated = '0'})},
    {"UpdateAddsABlockToTheFirstOfTheSite", OtherSite + Bare + Bare,
     update({.authenticated = '0', .rails = '1', .perl = '1'})},
    {"UpdateLetsEverybodyIntoANewBlockAt1", Bare, update({.authenticated = '1'})},
    {"UpdateNormalisesUpToTheBlock",
     Begin + "<directory\t/a>\n</Directory>\n<DirectoryMatch \"b\n" + Old + "<directory\t/a>\n" + End,
     update()},
    {"UpdateNormalisesAWholeSiteWithoutTheBlock", Begin + "<directory\t/a>\n</Directory>\n" + End,
     update()},
    {"UpdateForgetsABlockThatNeverEndsWithTheNextSite", Open + OtherSite + Bare, update()},
    {"UpdateNamesTheFolderTwiceBehindABlockThatNeverEnds", Open + Open + End, update()},
    {"UpdateSaysOrderAndAllow", Bare, update({.allow = "10.0.0.2", .order = 1})},
    {"UpdateMeetsOneQuote", Begin + "<Directory \"/home>\n" + Old + End, update()},
    {"UpdateWritesNoLineBreak", Begin + Old + End, update({.folder = "/home/files\nUser root"})},
    {"DeleteDropsEveryBlockOfTheFolder", Sundry, erase()},
    {"DeleteOfAnUnknownFolderNormalises", Sundry, erase("/absent")},
    {"DeleteMeetsOneQuote", Old + "<Directory \"/home>\n", erase()},
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
    std::map<std::string, std::string> versions;  // what is added, and where
    for (const char* version : {"none", "2.2.34", "2.4.0", "3.0.1"}) {
        pretendVersion(tools, version);
        writeFile(file, Bare);
        EXPECT_EQ(createDirectory(file, directory), 83);
        const std::string created = readFile(file);
        versions[difference(Bare, created, "-U0")] += std::string(version) + " ";
        for (const std::string& before : {Bare, Begin + Old + End}) {
            writeFile(file, before);
            EXPECT_EQ(updateDirectory(file, directory), 89);
            EXPECT_EQ(readFile(file) + "\n", created) << version;
        }
    }
    std::string told;
    for (const auto& [added, where] : versions) {
        told += "\n" + where + "\n" + added;
    }
    expectTold(GetParam().name, told);
}
INSTANTIATE_TEST_SUITE_P(Every, VirtualDirectoryRules, ::testing::ValuesIn(rules), byName);
