// The web users of a site: what becomes of their password file.
#include <CZPUsers.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <functional>

#include "support/FakeTools.h"
#include "support/FileCase.h"
#include "support/Files.h"
#include "support/Sandbox.h"
#include "support/Watching.h"

using namespace zp::test;
namespace fs = std::filesystem;

namespace {

using Operation = std::function<int(CZPUsers&)>;

Operation create(const char* name, const char* password) {
    return [=](CZPUsers& users) { return users.UserCreate(name, password); };
}
Operation change(const char* name, const char* password) {
    return [=](CZPUsers& users) { return users.ChangePasswd(name, password); };
}
Operation erase(const char* name) {
    return [=](CZPUsers& users) { return users.UserDelete(name); };
}

// The file of the case stands in for the domain's while the operation runs.
FileOperation onUsers(const Operation& operation) {
    return [=](const std::string& file) {
        const std::string root = scratch("root"), users = root + "/etc/webusers/passwd.example.com";
        fs::create_directories(root + "/etc/webusers");
        fs::rename(file, users);
        CZPUsers manager(nullptr, root.c_str(), "example.com", "");
        const int result = operation(manager);
        EXPECT_EQ(namesIn(root), StringVector{"etc"});
        EXPECT_FALSE(fs::exists("pwned"));
        fs::rename(users, file);
        return result;
    };
}

const std::string Two = "ann:secret\nbob:pass:word\n";
const std::string Long = std::string(70'000, 'x');
const FileCase webUserCases[] = {
    // Passwords are kept as they are given, whatever the shell would make of them.
    {"CreateAppends", Two, onUsers(create("cid", "a:b $(touch pwned) 'x")), R"(77
3+cid:a:b $(touch pwned) 'x)"},
    // The first user of a file.
    {"CreateFillsAnEmptyFile", "", onUsers(create("ann", "")), R"(77
1+ann:)"},
    // An unfinished last line is not made longer.
    {"CreateStartsALineOfItsOwn", "ann:secret", onUsers(create("cid", "x")), R"(77
1-ann:secret (no newline)
1+ann:secret
2+cid:x)"},
    // A name that is there twice would have two passwords.
    {"CreateLooksThroughTheWholeFile", "no colon\n\n" + Long + ":\n" + Two, onUsers(create("bob", "x")),
     "54"},
    // A name that begins alike is another user.
    {"CreateTellsNamesApart", Two, onUsers(create("an", "x")), R"(77
3+an:x)"},
    // The server does so, too.
    {"CreateTellsLetterCaseApart", Two, onUsers(create("Ann", "x")), R"(77
3+Ann:x)"},
    // A colon would end the name early.
    {"CreateTakesNoColon", Two, onUsers(create("cid:x", "x")), "78"},
    // An empty name would match any line.
    {"CreateTakesNoEmptyName", Two, onUsers(create("", "x")), "78"},
    // A null pointer is an empty name.
    {"CreateTakesNoNull", Two, onUsers(create(nullptr, nullptr)), "78"},
    // A password must not bring a second user along.
    {"CreateWritesNoLineBreak", "ann:secret", onUsers(create("cid", "x\nroot:y")), R"(78
> Error opening file)"},
    // An old line that is left would keep the old password alive.
    {"ChangeReplacesEveryLineOfTheUser", "ann:1\n\nanna:2\n ann:3\nann:4", onUsers(change("ann", "a:b;c")),
     R"(76
1-ann:1
2-
1,4+ann:a:b;c
5-ann:4 (no newline))"},
    // Nobody's password changes.
    {"ChangeOfAnUnknownUserDropsEmptyLines", "\n" + Two + "\nno colon\n" + Long, onUsers(change("an", "x")),
     R"(53
1,4-
6-{70000x} (no newline)
4+{70000x})"},
    // A password must not bring a second user along.
    {"ChangeWritesNoLineBreak", Two + "\n", onUsers(change("ann", "x\nroot:y")), "23"},
    // A line that is left would let the user in.
    {"DeleteDropsEveryLineOfTheUser", "ann:1\n\nanna:2\nANN:3\nann:4\n" + Long, onUsers(erase("ann")), R"(79
1-ann:1
2-
5-ann:4
6-{70000x} (no newline)
3+{70000x})"},
    // Nobody else is locked out.
    {"DeleteOfAnUnknownUserDropsEmptyLines", Two + "\n\n", onUsers(erase("an")), R"(79
3..4-)"},
};

class WebUserEdit : public ::testing::TestWithParam<FileCase> {};

// Users of a domain on an installation of its own.
class WebUser : public ::testing::Test {
protected:
    int run(const Operation& operation, const char* protectedFolder = nullptr) {
        CZPUsers users(nullptr, root.c_str(), "example.com", protectedFolder);
        return operation(users);
    }
    StringVector list(char (CZPUsers::*operation)(StringVector*), int result) {
        StringVector names{"already there"};
        EXPECT_EQ(run([&](CZPUsers& users) { return (users.*operation)(&names); }), result);
        names.erase(names.begin());
        return names;
    }
    const std::string root = scratch("root"), folder = root + "/etc/webusers",
                      file = folder + "/passwd.example.com";
};

}  // namespace

TEST_P(WebUserEdit, File) { check(GetParam()); }
INSTANTIATE_TEST_SUITE_P(Operation, WebUserEdit, ::testing::ValuesIn(webUserCases), byName);

TEST_F(WebUser, HaveAFileForEachDomainAndFolder) {
    for (const auto& [path, name] : {std::pair("", "passwd.example.com"),
                                     {"/home/a b/$c", "passwd.example.com__home_a b_$c"},
                                     {"x", "passwd.example.com_x"}}) {
        writeFile(folder + "/" + name, "ann:1\n");
        EXPECT_EQ(run(create("bob", "2"), path), 77);
        EXPECT_EQ(readFile(folder + "/" + name), "ann:1\nbob:2\n");
        EXPECT_EQ(run([](auto& users) { return users.UserDeleteAll(); }, path), 80);
        EXPECT_EQ(readFile(folder + "/" + name), NoFile);
        EXPECT_EQ(run([](auto& users) { return users.UserDeleteAll(); }, path), 80);
    }
    EXPECT_EQ(namesIn(folder), StringVector{});
    writeFile("/etc/webusers/passwd.", "ann:1\n");
    CZPUsers unnamed(nullptr);
    EXPECT_EQ(unnamed.ChangePasswd("ann", "2"), 76);
    EXPECT_EQ(readFile("/etc/webusers/passwd."), "ann:2\n");
}

TEST_F(WebUser, AreListed) {
    writeFile(file, "ann:1\nbob:pass:word\n:x\n" + Long + ":\nno colon\n\ncid:3");
    EXPECT_EQ(list(&CZPUsers::UserExist, 81), (StringVector{"ann", "bob", "", Long}));
    EXPECT_EQ(list(&CZPUsers::UserList, 82), (StringVector{"ann", "bob", "", Long, "cid"}));
    writeFile(file, "");
    EXPECT_EQ(list(&CZPUsers::UserExist, 81), StringVector{});
    EXPECT_EQ(list(&CZPUsers::UserList, 82), StringVector{});
    std::filesystem::remove(file);
    std::filesystem::create_symlink("/proc/self/mem", file);  // it opens, and the first read fails
    EXPECT_EQ(list(&CZPUsers::UserExist, 22), StringVector{});
    EXPECT_EQ(list(&CZPUsers::UserList, 22), StringVector{});
}

TEST_F(WebUser, ComeInThousands) {
    std::string text;
    for (int i = 0; i < 10'000; ++i) {
        text += "user" + std::to_string(i) + ":secret\n";
    }
    writeFile(file, text);
    EXPECT_EQ(run(create("user9999", "x")), 54);
    EXPECT_EQ(run(create("user10000", "x")), 77);
    EXPECT_EQ(run(erase("user1")), 79);
    EXPECT_EQ(list(&CZPUsers::UserList, 82).size(), 10'000U);
}

TEST_F(WebUser, PasswordsAreReadableByNobodyElseMeanwhileOrAfterwards) {
    writeFile(file, Two);
    ASSERT_EQ(::chown(file.c_str(), 1001, 1002), 0);
    fs::permissions(file, fs::perms(0440));
    const FakeTools tools;
    tools.watch("mv", "stat -c '%a %u %g' \"$1\" >>" + scratch("moved"));
    ::umask(0);
    for (const Operation& operation : {create("cid", "1"), change("cid", "2"), erase("cid")}) {
        EXPECT_LT(run(operation), 80);
        EXPECT_EQ(owner(file) + " " + mode(file), "1001:1002 0440");
    }
    EXPECT_EQ(readFile(scratch("moved")), "440 1001 1002\n440 1001 1002\n");
    EXPECT_EQ(readFile(file), Two);
}

TEST_F(WebUser, StayWhenTheirFileCannotBeWritten) {
    const CapturedOutput output;
    std::string text;
    while (text.size() < 20'000) {
        text += "user" + std::to_string(text.size()) + ":" + std::string(40, 'x') + "\n";
    }
    mountSmallDisk(root, "40k");
    writeFile(file, text);
    fillDisk(root);
    const std::string tail(5'000, 'p');
    EXPECT_EQ(run(create("cid", tail.c_str())), 78);
    EXPECT_EQ(run(change("user0", "x")), 23);
    EXPECT_EQ(run(erase("user0")), 23);
    EXPECT_EQ(readFile(file), text);
    EXPECT_EQ(namesIn(root), (StringVector{"etc", "filler"}));
    makeReadOnly(root);
    EXPECT_EQ(run(create("cid", "x")), 78);
    EXPECT_EQ(run(change("user0", "x")), 23);
    EXPECT_EQ(run(erase("user0")), 23);
    EXPECT_EQ(output.text(), "Error opening file\nError opening file\n");
}
