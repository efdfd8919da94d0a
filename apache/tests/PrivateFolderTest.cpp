// Folders behind a password: their two files, the tool that keeps the passwords, and its exact words.
#include <PrivateFolder.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>

#include "support/FakeTools.h"
#include "support/Files.h"
#include "support/Sandbox.h"
#include "support/Text.h"
#include "support/Watching.h"

using namespace zp::test;

namespace {

using Calls = std::vector<std::string>;

int add(const std::string& folder, const std::string& user = "ann",
        const std::string& password = "secret") {
    return PrivateFolder(nullptr).addPrivateFolder(folder, user, password);
}
int erase(const std::string& folder, const std::string& user = "ann") {
    return PrivateFolder(nullptr).deletePrivateFolder(folder, user);
}
int edit(const std::string& to, const std::string& from, const std::string& user = "ann",
         const std::string& password = "new") {
    return PrivateFolder(nullptr).editPrivateFolder(to, from, user, password);
}

std::string protectionOf(const std::string& folder) {
    return lines({"AuthUserFile " + folder + "/.htpasswd", "AuthName \"Restricted Area\"", "AuthType Basic",
                  "require valid-user"});
}

// A folder of a site, empty.
std::string folder(const std::string& name = "site/private") {
    std::string path = scratch(name);
    std::filesystem::create_directories(path);
    EXPECT_EQ(::chown(path.c_str(), 2001, 2002), 0);
    return path;
}

bool knows(const std::string& folder, const std::string& user, const std::string& password) {
    const std::string command =
        "htpasswd -vb " + folder + "/.htpasswd " + user + " '" + password + "' 2>/dev/null";
    return std::system(command.c_str()) == 0;
}

}  // namespace

TEST(PrivateFolder, TakesUsersInAndLetsThemGo) {
    const std::string place = folder();
    const std::string access = place + "/.htaccess";
    const std::string passwords = place + "/.htpasswd";
    EXPECT_EQ(add(place), 1602);
    EXPECT_EQ(readFile(access), protectionOf(place));
    EXPECT_EQ(mode(access) + mode(passwords), "04440444");
    EXPECT_EQ(add(place, "bob", "p;w $(reboot) 'q'"), 1602);
    EXPECT_EQ(readFile(access), protectionOf(place));
    EXPECT_TRUE(knows(place, "ann", "secret"));
    EXPECT_TRUE(knows(place, "bob", "p;w $(reboot) '\\''q'\\''"));

    const CapturedOutput output;
    EXPECT_EQ(edit(place, place), 1605);
    EXPECT_TRUE(knows(place, "ann", "new"));
    EXPECT_EQ(erase(place), 1603);
    EXPECT_FALSE(knows(place, "ann", "new"));
    EXPECT_TRUE(knows(place, "bob", "p;w $(reboot) '\\''q'\\''"));
    EXPECT_EQ(readFile(access), protectionOf(place));
    EXPECT_EQ(mode(access) + mode(passwords), "04440444");
    EXPECT_EQ(erase(place, "bob"), 1603);
    EXPECT_EQ(readFile(access), "");
    EXPECT_EQ(readFile(passwords), NoFile);
    EXPECT_EQ(namesIn(place), Calls{".htaccess"});
}

TEST(PrivateFolder, CallsTheToolInTheseWords) {
    const std::string place = folder();
    const std::string other = folder("site/other place");
    const std::string passwords = place + "/.htpasswd";
    const FakeTools tools;
    tools.watch("htpasswd");
    const CapturedOutput output;
    EXPECT_EQ(add(place), 1602);
    EXPECT_EQ(add(place, "b;ob", "p w"), 1602);
    EXPECT_EQ(output.text(),
              "delimeter contain spaces\ndelimeter contain spaces\ndelimeter contain spaces\n"
              "delimeter contain spaces\n");
    EXPECT_EQ(edit(place, place, "ann", "it's"), 1605);
    EXPECT_EQ(edit(other, place), 1605);
    EXPECT_EQ(erase(place, "b;ob"), 1603);
    EXPECT_EQ(tools.calls(), (Calls{
                                 "htpasswd -cb " + passwords + " ann secret",
                                 "htpasswd -b " + passwords + " [b;ob] [p w]",
                                 "htpasswd -D " + passwords + " ann",
                                 "htpasswd -b " + passwords + " ann [it's]",
                                 "htpasswd -D " + passwords + " ann",
                                 "htpasswd -cb [" + other + "/.htpasswd] ann new",
                                 "htpasswd -D " + passwords + " [b;ob]",
                             }));
    std::string said = output.text();
    for (const char* noise : {"delimeter contain spaces\n"}) {
        for (size_t at = said.find(noise); at != std::string::npos; at = said.find(noise)) {
            said.erase(at, std::string(noise).size());
        }
    }
    EXPECT_EQ(said, lines({"command=htpasswd -D " + passwords + " ann",
                           "command=htpasswd -b " + passwords + " ann 'it'\\''s'",
                           "command=htpasswd -D " + passwords + " ann",
                           "command=htpasswd -D " + passwords + " 'b;ob'", "cp_FF"}));
}

// The tool never meets a file that more accounts can read than in the end.
TEST(PrivateFolder, OpensPasswordsToNobodyOnTheWay) {
    const std::string place = folder();
    const FakeTools tools;
    tools.replace("htpasswd", "stat -c %a \"$2\" >>" + scratch("modes") + "; echo ann:x >\"$2\"");
    const CapturedOutput output;
    ::umask(0);
    EXPECT_EQ(add(place), 1602);
    EXPECT_EQ(edit(place, place), 1605);
    ::umask(022);
    EXPECT_EQ(readFile(scratch("modes")), "600\n444\n444\n");
    EXPECT_EQ(mode(place + "/.htpasswd") + mode(place + "/.htaccess"), "04440444");
}

TEST(PrivateFolder, KeepsOtherDirectives) {
    const std::string place = folder();
    const std::string access = place + "/.htaccess";
    writeFile(access, "# of the owner\n\nOptions -Indexes\nauthtype Basic");
    const CapturedOutput output;
    EXPECT_EQ(add(place), 1602);
    EXPECT_EQ(readFile(access), "# of the owner\n\nOptions -Indexes\nauthtype Basic\n" +
                                    without(protectionOf(place), "AuthType Basic\n"));
    EXPECT_EQ(mode(access), "0644");
    EXPECT_EQ(erase(place), 1603);
    EXPECT_EQ(readFile(access), "# of the owner\nOptions -Indexes\n");
    EXPECT_EQ(mode(access), "0644");
}

TEST(PrivateFolder, IsFreedEvenWithoutAPasswordFile) {
    const std::string place = folder();
    writeFile(place + "/.htaccess", protectionOf(place));
    const FakeTools tools;
    tools.watch("htpasswd");
    const CapturedOutput output;
    EXPECT_EQ(erase(place), 1603);
    EXPECT_EQ(readFile(place + "/.htaccess"), "");
    EXPECT_EQ(erase(folder("site/untouched")), 1603);
    EXPECT_EQ(erase(scratch("missing")), 1603);
    EXPECT_EQ(tools.calls(), Calls{});
}

TEST(PrivateFolder, SaysWhatCouldNotBeDone) {
    const std::string place = folder();
    EXPECT_EQ(add(scratch("missing")), 1601);
    EXPECT_EQ(edit(place, place), 1606);
    EXPECT_EQ(namesIn(place), Calls{}) << "an edit without a password file changes nothing";
    EXPECT_EQ(add(folder("site/two\nlines")), 1601);
    const FakeTools tools;
    tools.replace("htpasswd", "case $1 in -D) rm -f \"$2\" ;; esac");
    EXPECT_EQ(add(place), 1602) << "what the tool answers is not examined";
    EXPECT_EQ(readFile(place + "/.htpasswd"), NoFile) << "the tool made none";
    writeFile(place + "/.htpasswd", "ann:x\n");
    const CapturedOutput output;
    EXPECT_EQ(edit(scratch("missing"), place), 1604) << "the password file is gone when it is examined";
    writeFile(place + "/.htpasswd", "");
    EXPECT_EQ(edit(place, place, "ann\nroot:x", "y"), 1606);
    EXPECT_EQ(add(place, "ann\nroot:x", "y"), 1601);
    tools.replace("htpasswd", ":");
    EXPECT_EQ(edit(scratch("missing"), place), 1601);
}

// Without descriptors left for a pipe no command can be started.
TEST(PrivateFolder, SaysThatTheToolCouldNotBeRun) {
    const std::string place = folder();
    writeFile(place + "/.htaccess", protectionOf(place));
    writeFile(place + "/.htpasswd", "ann:x\n");
    const CapturedOutput output;
    EXPECT_EQ(edit(place, place),
              1605);  // the sanitizer has looked at every object before its pipes are gone
    const std::string passwords = readFile(place + "/.htpasswd");
    rlimit all{};
    ::getrlimit(RLIMIT_NOFILE, &all);
    const int next = ::dup(0);
    ::close(next);
    // An operation holds the folder of each of the two files open, and one file of it at a time.
    const rlimit few{static_cast<rlim_t>(next) + 3, all.rlim_max};
    ::setrlimit(RLIMIT_NOFILE, &few);
    const int results[] = {add(place), erase(place), edit(place, place)};
    ::setrlimit(RLIMIT_NOFILE, &all);
    EXPECT_EQ(std::vector<int>(std::begin(results), std::end(results)),
              (std::vector<int>{1601, 1604, 1501}));
    EXPECT_EQ(readFile(place + "/.htpasswd"), passwords);
}

// Nothing outside the folder is written, whatever its owner puts in the place of the two files or of
// itself.
TEST(PrivateFolder, FollowsNoLinkOfTheOwner) {
    const std::string outside = scratch("outside");
    const std::string text = "root:x\n" + protectionOf(outside);
    const CapturedOutput output;
    for (const char* name : {"/.htaccess", "/.htpasswd"}) {
        for (const std::string& target : {outside + "/file", std::string("/nowhere/file")}) {
            const std::string place = folder();
            std::filesystem::remove_all(place);
            folder();
            writeFile(outside + "/file", text);
            ASSERT_EQ(::symlink(target.c_str(), (place + name).c_str()), 0);
            EXPECT_EQ(add(place), 1601) << name << target;
            const bool isPassword = name == std::string("/.htpasswd");
            EXPECT_EQ(erase(place), isPassword ? 1604 : 1603) << name << target;
            EXPECT_EQ(edit(place, place), 1606) << name << target;
            EXPECT_EQ(readFile(outside + "/file"), text);
            EXPECT_EQ(mode(outside + "/file"), "0644");
            EXPECT_EQ(namesIn(place), Calls{name + 1}) << "nothing else is made";
        }
    }
    writeFile(outside + "/.htpasswd", "root:x\n");
    ASSERT_EQ(::symlink(outside.c_str(), scratch("site/moved").c_str()), 0);
    ASSERT_EQ(::lchown(scratch("site").c_str(), 2001, 2002), 0);
    EXPECT_EQ(add(scratch("site/moved")), 1601);
    EXPECT_EQ(erase(scratch("site/moved"), "root"), 1604);
    EXPECT_EQ(readFile(outside + "/.htpasswd"), "root:x\n");
    EXPECT_EQ(namesIn(outside), (Calls{".htpasswd", "file"}));
}
