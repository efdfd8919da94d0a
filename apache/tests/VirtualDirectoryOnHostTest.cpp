// Virtual directories on the host: commands, owners and modes, what links lead to, and what stands in the
// way.
#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>

#include "support/FakeTools.h"
#include "support/Files.h"
#include "support/Sandbox.h"
#include "support/Sites.h"
#include "support/VirtualDirectories.h"
#include "support/Watching.h"

using namespace zp::test;
namespace fs = std::filesystem;

namespace {

constexpr const char* Scratch = "/etc/apactemp1";
const std::string Home = "/var/www/example.com", Files = Home + "/files";
const std::string SiteUsers = Home + "/webusers_example.com.htpasswd";
const std::string FolderUsers = Files + "/webusers.htpasswd";
const std::string Configuration = blockOf({});
constexpr const char* Siteowner = "2001:2005";  // and the panel's group

class VirtualDirectoryOnHost : public ::testing::Test {
protected:
    void SetUp() override {
        ::umask(022);
        fs::remove_all(Home);
        addSiteAccounts();
        writeFile(file, Configuration);
        writeFile(Home + "/www/html/index.html", "");
        writeFile(Files + "/page.html", "");
        writeFile(Outside + "/victim", "precious\n");
        ASSERT_EQ(::chown(Home.c_str(), 2001, 2002), 0);
        pretendVersion(tools, "2.4.57");
        for (const char* tool : {"chown", "chmod", "mv"}) {  // owners and modes take no command
            tools.watch(tool);
        }
    }
    void expectOutsideUntouched() const {
        EXPECT_EQ(namesIn(Outside), StringVector{"victim"});
        EXPECT_EQ(readFile(Outside + "/victim"), "precious\n");
        for (const std::string& path : {Outside, Outside + "/victim"}) {
            EXPECT_EQ(owner(path), "0:0");
            EXPECT_EQ(mode(path), path == Outside ? "0755" : "0644");
        }
    }
    // The three that rewrite the configuration: what each answers now.
    std::vector<int> results(const Directory& directory = {.folder = Files}) const {
        return {createDirectory(file, directory), updateDirectory(file, directory),
                deleteDirectory(file, directory.folder)};
    }

    const std::string file = scratch("httpd.conf"), Outside = scratch("outside");
    // The scratch file stands on another file system, and is brought near first.
    const FakeTools tools;
    const CapturedOutput output;
};

}  // namespace

TEST_F(VirtualDirectoryOnHost, CreationGivesFolderAndPasswordFileToTheOwnerOfTheSite) {
    const std::string www = Home + "/www";
    ::umask(077);
    EXPECT_EQ(createDirectory(file, {.folder = "", .authenticated = '1'}), 1)
        << "website creation made one";
    EXPECT_EQ(deleteDirectory(file, www), 85);
    EXPECT_EQ(createDirectory(file, {.folder = "", .authenticated = '1'}), 83);
    EXPECT_EQ(tools.calls(), (StringVector{"apachectl -v", movedFromAnotherFileSystem(file), "apachectl -v",
                                           movedFromAnotherFileSystem(file)}));
    for (const std::string& path : {www, www + "/html", www + "/html/index.html"}) {
        EXPECT_EQ(owner(path) + " " + mode(path), "2001:2005 0705");
    }
    EXPECT_EQ(owner(SiteUsers) + " " + mode(SiteUsers), "2001:2005 0604");
}

TEST_F(VirtualDirectoryOnHost, AFolderWhoseOwnerHasNoAccountIsNotHandedOver) {
    ASSERT_EQ(::chown(Home.c_str(), 4321, 4321), 0);
    EXPECT_EQ(createDirectory(file, {.folder = Files}), 83);
    EXPECT_EQ(owner(Files) + " " + mode(Files), "0:0 0755");
    EXPECT_EQ(CZPVirtualDirectory(nullptr, file.c_str(), "").DeleteVirtualDirectory("/absent"), 85);
    EXPECT_EQ(tools.calls(), (StringVector{"apachectl -v", movedFromAnotherFileSystem(file),
                                           movedFromAnotherFileSystem(file)}));  // of an installation
}

TEST_F(VirtualDirectoryOnHost, AnExistingPasswordFileKeepsTextAndMode) {
    for (const std::string& users : {SiteUsers, FolderUsers}) {
        writeFile(users, "bob:hash\n");
        fs::permissions(users, fs::perms(0640));
        ASSERT_EQ(::chown(users.c_str(), 2001, 0), 0);
    }
    EXPECT_EQ(createDirectory(file, {.folder = "/absent", .authenticated = '1'}), 83);
    EXPECT_EQ(updateDirectory(file, {.folder = Files, .authenticated = '0'}), 89);
    EXPECT_EQ(owner(SiteUsers), "2001:2005");
    EXPECT_EQ(owner(FolderUsers), "2003:2005");
    for (const std::string& users : {SiteUsers, FolderUsers}) {
        EXPECT_EQ(readFile(users), "bob:hash\n");
        EXPECT_EQ(mode(users), "0640");
    }
}

TEST_F(VirtualDirectoryOnHost, UpdateGivesThePasswordFileToTheAdministratorInTheAddress) {
    const std::pair<const char*, std::string> cases[] = {
        {"siteadmin@example.com", "2003:2005"},
        {"siteowner@a@b", "2001:2005"},
        {"a b;touch pwned@x", "0:0"},
        {"siteadmin", "0:0"},
        {"@example.com", "0:0"},
    };
    for (const auto& [address, expected] : cases) {
        SCOPED_TRACE(address);
        fs::remove(FolderUsers);
        writeFile(file, std::string("<VirtualHost *>\nServerName example.com\nServerAdmin ") + address +
                            "\n</VirtualHost>\n");
        EXPECT_EQ(updateDirectory(file, {.folder = Files, .authenticated = '0'}), 89);
        EXPECT_EQ(owner(FolderUsers) + " " + mode(FolderUsers), expected + " 0604");
        EXPECT_EQ(owner(Files) + " " + mode(Files), "0:0 0755") << "the folder stays as it is";
    }
    EXPECT_FALSE(fs::exists("pwned"));
}

TEST_F(VirtualDirectoryOnHost, ALinkInPlaceOfTheFolderIsLeftAlone) {
    fs::create_symlink(Outside, Home + "/link");
    fs::create_directories(Outside + "/../deeper");
    for (const std::string& folder :
         {Home + "/link", Home + "/link/", Home + "/link/.", Home + "/link/../outside"}) {
        EXPECT_EQ(createDirectory(file, {.folder = folder}), 83);
        EXPECT_EQ(updateDirectory(file, {.folder = folder, .authenticated = '1'}), 89);
        EXPECT_NE(readFile(file).find("AuthUserFile " + folder + "/webusers.htpasswd\n"),
                  std::string::npos);
    }
    fs::create_symlink(Outside, "/home/link");  // an administrator's
    for (const char* folder : {"/home/link", "/home/link/"}) {
        EXPECT_EQ(createDirectory(file, {.folder = folder}), 83);
    }
    for (const std::string& call : tools.calls()) {
        EXPECT_FALSE(call.starts_with("ch")) << call;
    }
    expectOutsideUntouched();
}

TEST_F(VirtualDirectoryOnHost, LinksInsideTheFolderLeadNowhere) {
    fs::create_symlink(Outside, Files + "/folder");
    fs::create_symlink(Outside + "/victim", Files + "/file");
    fs::create_symlink("/absent", Files + "/dangling");
    EXPECT_EQ(createDirectory(file, {.folder = Files}), 83);
    EXPECT_EQ(owner(Files + "/page.html"), Siteowner);
    expectOutsideUntouched();
}

TEST_F(VirtualDirectoryOnHost, AFileWithASecondNameIsNotGivenAway) {
    const std::string victim = "/var/victim";
    writeFile(victim, "precious\n");
    fs::create_hard_link(victim, Files + "/victim");
    fs::create_directories(Files + "/shared");
    ASSERT_EQ(::chmod((Files + "/shared").c_str(), 02770), 0);
    EXPECT_EQ(createDirectory(file, {.folder = Files}), 83);
    EXPECT_EQ(mode(victim) + " " + owner(victim), "0644 0:0");
    EXPECT_EQ(mode(Files + "/shared") + " " + owner(Files + "/shared"), std::string("2705 ") + Siteowner);
}

TEST_F(VirtualDirectoryOnHost, NoPasswordFileIsMadeOrGivenAwayThroughALink) {
    for (const std::string& target : {Outside + "/victim", Outside + "/new", Outside}) {
        SCOPED_TRACE(target);
        for (const std::string& users : {SiteUsers, FolderUsers}) {
            fs::remove(users);
            fs::create_symlink(target, users);
        }
        EXPECT_EQ(createDirectory(file, {.folder = "/absent" + target, .authenticated = '1'}), 83);
        EXPECT_EQ(updateDirectory(file, {.folder = Files, .authenticated = '1'}), 89);
        expectOutsideUntouched();
    }
    fs::remove(FolderUsers);
    ASSERT_EQ(::mkfifo(FolderUsers.c_str(), 0600), 0);
    EXPECT_EQ(updateDirectory(file, {.folder = Files, .authenticated = '1'}), 89);
    EXPECT_EQ(mode(FolderUsers) + " " + owner(FolderUsers), "0600 0:0");
}

TEST_F(VirtualDirectoryOnHost, TakesNoPathForACommand) {
    const std::string folder = Home + "/it's; touch pwned; \"$(touch pwned)\" `touch pwned` &";
    fs::create_directories(folder);
    // The quote in it ends the path on the line that creation writes: the update finds no block, and adds
    // one.
    EXPECT_EQ(results({.folder = folder, .authenticated = '0'}), (std::vector<int>{83, 89, 85}));
    EXPECT_FALSE(fs::exists("pwned"));
    EXPECT_EQ(owner(folder) + " " + mode(folder), "2001:2005 0705");
    EXPECT_EQ(owner(folder + "/webusers.htpasswd"), "2003:2005");
}

TEST_F(VirtualDirectoryOnHost, AScratchFileThatCannotBeMadeIsToldByUpdateAlone) {
    fs::create_directories(Scratch);
    EXPECT_EQ(results(), (std::vector<int>{23, 23, 23}));
    EXPECT_EQ(output.text(), "Error opening TEMPFILE file\n");
}

TEST_F(VirtualDirectoryOnHost, MissingToolsChangeNothing) {
    ::setenv("PATH", "/nonexistent", 1);
    EXPECT_EQ(results(), (std::vector<int>{83, 89, 85}));
    EXPECT_EQ(readFile(file), Configuration);
    EXPECT_NE(output.text().find("major=-1\n"), std::string::npos);
}

class FolderRemoval : public VirtualDirectoryOnHost {
protected:
    char remove(const std::string& path) const { return RemoveDir(path.c_str()); }
    const std::string tree = scratch("tree");
};

TEST_F(FolderRemoval, TakesAWholeTreeAndLinksAsLinks) {
    for (const char* ending : {"", "/", "/."}) {
        writeFile(tree + "/a/b/c/file", "x");
        writeFile(tree + "/.hidden", "x");
        fs::create_directories(tree + "/empty/...");
        fs::create_symlink(Outside, tree + "/a/folder");
        fs::create_symlink(Outside + "/victim", tree + "/a/file");
        fs::permissions(tree + "/a", fs::perms(0));
        EXPECT_EQ(remove(tree + ending), 0) << ending;
        EXPECT_FALSE(fs::exists(tree));
        fs::create_symlink(Outside, tree);
        EXPECT_EQ(remove(tree + ending), 0) << ending;
        EXPECT_FALSE(fs::is_symlink(tree));
    }
    expectOutsideUntouched();
}

TEST_F(FolderRemoval, StopsWhereItCannotGoOn) {
    EXPECT_EQ(remove(tree), 1);
    EXPECT_EQ(RemoveDir(""), 1);
    EXPECT_EQ(RemoveDir(nullptr), 1);
    EXPECT_EQ(remove(file), 1);
    fs::create_symlink("/absent", tree);
    EXPECT_EQ(remove(tree), 1);
    EXPECT_TRUE(fs::is_symlink(tree));
    fs::remove(tree);

    fs::create_directories(tree + "/a/b");
    fs::create_symlink("/absent", tree + "/a/b/dangling");
    EXPECT_EQ(remove(tree), 1);
    EXPECT_TRUE(fs::is_symlink(tree + "/a/b/dangling"));
    fs::remove(tree + "/a/b/dangling");
    makeReadOnly(tree + "/a/b");
    EXPECT_EQ(remove(tree), 1);
    EXPECT_TRUE(fs::exists(tree + "/a/b"));
}

TEST_F(FolderRemoval, NeedsTwoDescriptorsHoweverDeep) {
    fs::create_directories(tree);
    const std::string before = fs::current_path();
    fs::current_path(tree);
    for (int depth = 0; depth < 2000; ++depth) {
        ASSERT_EQ(::mkdir("d", 0700), 0);
        ASSERT_EQ(::chdir("d"), 0);
    }
    fs::current_path(before);
    rlimit all{};
    ::getrlimit(RLIMIT_NOFILE, &all);
    const rlimit few{64, all.rlim_max};
    ::setrlimit(RLIMIT_NOFILE, &few);
    EXPECT_EQ(remove(tree), 0);
    ::setrlimit(RLIMIT_NOFILE, &all);
    EXPECT_FALSE(fs::exists(tree));
}

TEST_F(FolderRemoval, IsNotLedElsewhereByALinkOnTheWay) {
    fs::create_directories(Outside + "/inner");
    fs::create_symlink(Outside, Home + "/way");  // the site's owner can have placed it
    EXPECT_EQ(remove(Home + "/way/inner"), 1);
    EXPECT_TRUE(fs::exists(Outside + "/inner"));
}

TEST_F(FolderRemoval, LeavesWhatIsMountedThere) {
    fs::create_directories(tree + "/a/bound");
    writeFile(tree + "/a/file", "x");
    ASSERT_EQ(::mount(Outside.c_str(), (tree + "/a/bound").c_str(), nullptr, MS_BIND, nullptr), 0);
    EXPECT_EQ(remove(tree), 1);
    EXPECT_FALSE(fs::exists(tree + "/a/file"));
    expectOutsideUntouched();
}
