// Directories behind a password: their two files, the tool that keeps the passwords, and its exact words.
#include <PrivateFolder.h>
#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <functional>

#include "support/FakeTools.h"
#include "support/Files.h"
#include "support/Told.h"
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

// A directory of a site, empty.
std::string folder(const std::string& name = "site/private") {
    std::string path = scratch(name);
    std::filesystem::create_directories(path);
    EXPECT_EQ(::chown(path.c_str(), 2001, 2002), 0);
    return path;
}

bool knows(const std::string& folder, const std::string& user, const std::string& password) {
    const std::string command =
        "htpasswd -vb '" + folder + "/.htpasswd' " + user + " '" + password + "' 2>/dev/null";
    return std::system(command.c_str()) == 0;
}

// A directory's story, step by step: what each answered, ran and printed, and what became of the two files.
class Story {
public:
    Story() { tools_.watch("htpasswd"); }
    void step(const char* name, const std::function<int()>& operation) {
        const StringVector before = tools_.calls();
        const CapturedOutput output;
        told_ += std::string(name) + ": " + std::to_string(operation()) + "\n";
        told_ += printedLines(output.text());
        const StringVector calls = tools_.calls();
        for (size_t i = before.size(); i < calls.size(); ++i) {
            told_ += "$ " + calls[i] + "\n";
        }
        const std::string access = readFile(place + "/.htaccess");
        told_ +=
            changes(access_, access) + mode(place + "/.htaccess") + " " + mode(place + "/.htpasswd") + "\n";
        access_ = access;
    }
    void check(const std::string& expected) const { expectTold(told_, expected); }

    const std::string place = folder();

private:
    const FakeTools tools_;
    std::string told_, access_;
};

}  // namespace

TEST(PrivateFolder, TakesUsersInAndLetsThemGo) {
    Story story;
    const std::string &place = story.place, other = folder("site/other place");
    const std::string odd = "p;w $(reboot) 'q'", storedOdd = "p;w $(reboot) '\\''q'\\''";
    story.step("first user", [&] { return add(place); });
    story.step("second user", [&] { return add(place, "b;ob", odd); });
    EXPECT_TRUE(knows(place, "ann", "secret") && knows(place, "'b;ob'", storedOdd));
    story.step("new password", [&] { return edit(place, place, "ann", "it's"); });
    EXPECT_TRUE(knows(place, "ann", "it'\\''s"));
    story.step("moved to another folder", [&] { return edit(other, place); });
    EXPECT_TRUE(!knows(place, "ann", "new") && knows(other, "ann", "new"));
    EXPECT_TRUE(knows(place, "'b;ob'", storedOdd));
    story.step("last user gone", [&] { return erase(place, "b;ob"); });
    EXPECT_EQ(namesIn(place), Calls{".htaccess"});
    writeFile(place + "/.htaccess", "# of the owner\n\nOptions -Indexes\nauthtype Basic");
    story.step("among other directives", [&] { return add(place); });
    story.step("and gone again", [&] { return erase(place); });
    writeFile(place + "/.htaccess", protectionOf(place));
    story.step("freed without a password file", [&] { return erase(place); });
    story.step("untouched", [&] { return erase(folder("site/untouched")); });
    story.step("missing", [&] { return erase(scratch("missing")); });
    story.check(R"(first user: 1602
$ htpasswd -cb (open file) ann secret
1+AuthUserFile /mnt/cases/PrivateFolder.TakesUsersInAndLetsThemGo/site/private/.htpasswd
2+AuthName "Restricted Area"
3+AuthType Basic
4+require valid-user
0444 0444
second user: 1602
> delimeter contain spaces
> delimeter contain spaces
> delimeter contain spaces
> delimeter contain spaces
$ htpasswd -b (open file) [b;ob] [p;w $(reboot) 'q']
0444 0444
new password: 1605
> command=htpasswd -D /mnt/cases/PrivateFolder.TakesUsersInAndLetsThemGo/site/private/.htpasswd ann
> command=htpasswd -b /mnt/cases/PrivateFolder.TakesUsersInAndLetsThemGo/site/private/.htpasswd ann 'it'\''s'
$ htpasswd -D (open file) ann
$ htpasswd -b (open file) ann [it's]
0444 0444
moved to another folder: 1605
> command=htpasswd -D /mnt/cases/PrivateFolder.TakesUsersInAndLetsThemGo/site/private/.htpasswd ann
$ htpasswd -D (open file) ann
$ htpasswd -cb (open file) ann new
0444 0444
last user gone: 1603
> command=htpasswd -D /mnt/cases/PrivateFolder.TakesUsersInAndLetsThemGo/site/private/.htpasswd 'b;ob'
> cp_FF
> delimeter contain spaces
> delimeter contain spaces
> delimeter contain spaces
> delimeter contain spaces
> delimeter contain spaces
> delimeter contain spaces
> delimeter contain spaces
> delimeter contain spaces
$ htpasswd -D (open file) [b;ob]
1-AuthUserFile /mnt/cases/PrivateFolder.TakesUsersInAndLetsThemGo/site/private/.htpasswd
2-AuthName "Restricted Area"
3-AuthType Basic
4-require valid-user
0444 (no file)
among other directives: 1602
> delimeter contain spaces
$ htpasswd -cb (open file) ann secret
1+# of the owner
2+
3+Options -Indexes
4+authtype Basic
5+AuthUserFile /mnt/cases/PrivateFolder.TakesUsersInAndLetsThemGo/site/private/.htpasswd
6+AuthName "Restricted Area"
7+require valid-user
0444 0444
and gone again: 1603
> command=htpasswd -D /mnt/cases/PrivateFolder.TakesUsersInAndLetsThemGo/site/private/.htpasswd ann
> cp_FF
> delimeter contain spaces
> delimeter contain spaces
> delimeter contain spaces
> delimeter contain spaces
> delimeter contain spaces
> delimeter contain spaces
> delimeter contain spaces
> delimeter contain spaces
$ htpasswd -D (open file) ann
2-
4-authtype Basic
5-AuthUserFile /mnt/cases/PrivateFolder.TakesUsersInAndLetsThemGo/site/private/.htpasswd
6-AuthName "Restricted Area"
7-require valid-user
0444 (no file)
freed without a password file: 1603
> cp_FF
> delimeter contain spaces
> delimeter contain spaces
> delimeter contain spaces
> delimeter contain spaces
> delimeter contain spaces
> delimeter contain spaces
> delimeter contain spaces
> delimeter contain spaces
1-# of the owner
2-Options -Indexes
0444 (no file)
untouched: 1603
0444 (no file)
missing: 1603
0444 (no file))");
}

// The tool never meets a file that more accounts can read than in the end.
TEST(PrivateFolder, OpensPasswordsToNobodyOnTheWay) {
    const std::string place = folder();
    const FakeTools tools;
    tools.replace("htpasswd", "stat -Lc %a \"$2\" >>" + scratch("modes") + "; echo ann:x >\"$2\"");
    const CapturedOutput output;
    ::umask(0);
    EXPECT_EQ(add(place), 1602);
    EXPECT_EQ(edit(place, place), 1605);
    ::umask(022);
    EXPECT_EQ(readFile(scratch("modes")), "600\n600\n600\n");
    EXPECT_EQ(mode(place + "/.htpasswd") + mode(place + "/.htaccess"), "04440444");
}

TEST(PrivateFolder, SaysWhatCouldNotBeDone) {
    const std::string place = folder();
    EXPECT_EQ(add(scratch("missing")), 1601);
    EXPECT_EQ(edit(place, place), 1606);
    EXPECT_EQ(namesIn(place), Calls{}) << "an edit without a password file changes nothing";
    EXPECT_EQ(add(folder("site/two\nlines")), 1601);
    const FakeTools tools;
    tools.replace("htpasswd", ":");
    EXPECT_EQ(add(place), 1602) << "what the tool answers is not examined";
    EXPECT_EQ(readFile(place + "/.htpasswd"), NoFile) << "the tool made none";
    const CapturedOutput output;
    EXPECT_EQ(add(place, "ann", ""), 1602);
    EXPECT_TRUE(tools.calls().back().ends_with("ann []")) << "an empty password is a word, too";
    writeFile(place + "/.htpasswd", "ann:x\n");
    tools.replace("htpasswd", "echo half >\"$2\"; exit 1");
    EXPECT_EQ(add(place, "bob"), 1602);
    EXPECT_EQ(readFile(place + "/.htpasswd"), "ann:x\n") << "nothing of a tool that failed";
    EXPECT_EQ(mode(place + "/.htpasswd"), "0444") << "the mode comes after the tool, whatever it answered";
    writeFile(place + "/.htpasswd", "bobby:x\n");
    tools.replace("htpasswd", "echo bob:y >\"$2\"");
    EXPECT_EQ(add(place, "bob"), 1601);
    EXPECT_EQ(edit(folder("other"), place), 1604) << "who could not be deleted is added nowhere else";
    EXPECT_EQ(readFile(place + "/.htpasswd"), "bobby:x\n") << "another user's line";
    const std::string unread = folder("unread") + "/.htaccess";  // it opens, and the first read fails
    writeFile(unread, "");
    ASSERT_EQ(::mount("/proc/self/mem", unread.c_str(), nullptr, MS_BIND, nullptr), 0);
    EXPECT_EQ(add(folder("unread")), 1601) << "nobody would be asked for a password";
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
    // An operation holds the directory of each of the two files open, and one file of it at a time.
    const rlimit few{static_cast<rlim_t>(next) + 3, all.rlim_max};
    ::setrlimit(RLIMIT_NOFILE, &few);
    const int results[] = {add(place), erase(place), edit(place, place)};
    ::setrlimit(RLIMIT_NOFILE, &all);
    EXPECT_EQ(std::vector<int>(std::begin(results), std::end(results)),
              (std::vector<int>{1601, 1604, 1501}));
    EXPECT_EQ(readFile(place + "/.htpasswd"), passwords);
}

// Nothing outside the directory is written, whatever its owner puts in the place of the two files or of
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

// What an owner can plant in place of the password file: none of it is read, written, or given away.
TEST(PrivateFolder, RefusesWhatNoSiteHasThere) {
    const std::string place = folder(), file = place + "/.htpasswd", outside = scratch("outside");
    const auto own = [&](const char* commands) {
        writeFile(file, "root:x\n");
        EXPECT_EQ(std::system((commands + (" " + file)).c_str()), 0);
    };
    const std::pair<const char*, std::function<void()>> plants[] = {
        {"a second link", [&] { std::filesystem::create_hard_link(outside, file); }},
        {"a pipe", [&] { EXPECT_EQ(::mkfifo(file.c_str(), 0600), 0); }},
        {"set-ID", [&] { own("chmod 4755"); }},
        {"of another account", [&] { own("chown 77:77"); }},
        {"three gigabytes", [&] { own("truncate -s 3G"); }},
    };
    const FakeTools tools;
    tools.replace("htpasswd", "echo changed >\"$2\"");
    for (const auto& [what, plant] : plants) {
        SCOPED_TRACE(what);
        writeFile(outside, "root:x\n");
        plant();
        const CapturedOutput output;
        EXPECT_EQ(add(place), 1601);
        EXPECT_EQ(erase(place), 1604);
        EXPECT_EQ(edit(place, place), 1606);
        EXPECT_EQ(readFile(outside), "root:x\n");
        EXPECT_EQ(namesIn(place), Calls{".htpasswd"});
        std::filesystem::rename(file, place + "/.htaccess");
        EXPECT_EQ(add(place), 1601);
        EXPECT_EQ(readFile(outside), "root:x\n");
        EXPECT_EQ(namesIn(place), Calls{".htaccess"});
        std::filesystem::remove(place + "/.htaccess");
    }
    EXPECT_EQ(tools.calls(), Calls{});
}
