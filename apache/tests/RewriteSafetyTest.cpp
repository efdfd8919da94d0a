// The rewrite of a configuration: nothing is lost, opened up or run that should not be.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <algorithm>
#include <ctime>
#include <filesystem>
#include <vector>

#include "support/Editing.h"
#include "support/FakeTools.h"
#include "support/FileCase.h"
#include "support/Files.h"
#include "support/Sandbox.h"
#include "support/Sites.h"
#include "support/Watching.h"

using namespace zp::test;
namespace fs = std::filesystem;

namespace {

// The rest of the scope runs as an account without privileges.
class WithoutPrivileges {
public:
    WithoutPrivileges() { EXPECT_EQ(::seteuid(4242), 0); }
    ~WithoutPrivileges() { EXPECT_EQ(::seteuid(0), 0); }
    WithoutPrivileges(const WithoutPrivileges&) = delete;
    WithoutPrivileges& operator=(const WithoutPrivileges&) = delete;
};

std::string temporaryFilesIn(const std::string& folder) {
    std::string found;
    for (const std::string& name : namesIn(folder)) {
        if (name != "httpd.conf" && name.find(".zpbackup.") == std::string::npos) {
            found += name + " ";
        }
    }
    return found;
}

}  // namespace

class Rewriting : public ::testing::TestWithParam<Editing> {
protected:
    void SetUp() override {
        addSiteAccounts();
        refill("conf");
    }
    // A fresh configuration in a directory that was empty.
    void refill(const std::string& name) {
        fs::remove_all(scratch(name));
        fs::remove_all("/var/www/example.com");
        folder = scratch(name);
        file = folder + "/httpd.conf";
        writeFile(file, editedConfiguration());
    }
    int run(const std::string& value = "") const { return GetParam().run(file, value); }
    bool copyIsElsewhere() const { return GetParam().copy.starts_with('/'); }
    std::string copyFolder() const { return copyIsElsewhere() ? "/etc" : folder; }
    void expectUntouched() const {
        EXPECT_EQ(readFile(file), editedConfiguration());
        EXPECT_EQ(temporaryFilesIn(folder), "");
        EXPECT_FALSE(copyIsElsewhere() && fs::exists(GetParam().copy));
    }
    // What the copy may be called; by the second, the name is not known before.
    StringVector temporaryFileNames() const {
        if (const std::string& copy = GetParam().copy; !copy.empty()) {
            return {copyIsElsewhere() ? copy : file + copy};
        }
        StringVector names;
        for (time_t second = std::time(nullptr); names.size() < 20; ++second) {
            names.push_back(folder + "/" + std::to_string(second));
        }
        return names;
    }
    std::string folder, file;
};
INSTANTIATE_TEST_SUITE_P(Operations, Rewriting, ::testing::ValuesIn(editings().begin(), editings().end()),
                         byName);

TEST_P(Rewriting, KeepsModeOwnerAndLink) {
    ASSERT_EQ(::chown(file.c_str(), 1001, 1002), 0);
    ASSERT_EQ(::setxattr(file.c_str(), "trusted.note", "kept", 4, 0), 0);
    fs::permissions(file, fs::perms(0640));
    const std::string link = scratch("link.conf");
    fs::create_symlink("conf/httpd.conf", link);
    EXPECT_EQ(GetParam().run(link, ""), GetParam().done);
    EXPECT_TRUE(fs::is_symlink(link));
    EXPECT_EQ(mode(file), "0640");
    EXPECT_EQ(owner(file), "1001:1002");
    char note[5] = "";
    EXPECT_EQ(::getxattr(file.c_str(), "trusted.note", note, 4), 4);
    EXPECT_STREQ(note, "kept");
    EXPECT_NE(readFile(file), editedConfiguration());
}

TEST_P(Rewriting, MovesACopyThatOnlyItsOwnerCouldReadBefore) {
    const FakeTools tools;
    tools.watch("mv", "stat -c '%a %u %g' \"$1\" >>" + scratch("moved"));
    ::umask(0);
    EXPECT_EQ(run(), GetParam().done);
    ::umask(022);
    EXPECT_EQ(readFile(scratch("moved")), "644 0 0\n");
}

TEST_P(Rewriting, TakesNoPartOfAPathForACommand) {
    refill("it's; touch pwned; \"$(touch pwned)\" `touch pwned` &");
    EXPECT_EQ(run("$(touch pwned)"), GetParam().done);
    EXPECT_FALSE(fs::exists("pwned"));
    EXPECT_EQ(temporaryFilesIn(folder), "");
    EXPECT_NE(readFile(file), editedConfiguration());
}

class RewritingValue : public Rewriting {};
TEST_P(RewritingValue, HoldsNoLineBreak) {
    EXPECT_EQ(run("x\nUser root"), GetParam().noScratch);
    expectUntouched();
}
INSTANTIATE_TEST_SUITE_P(Operations, RewritingValue, ::testing::ValuesIn(writingEditings()), byName);

TEST_P(Rewriting, SaysWhenTheFileCannotBeRead) {
    const CapturedOutput output;
    file = folder + "/missing.conf";
    EXPECT_EQ(run(), GetParam().noFile);
    EXPECT_EQ(temporaryFilesIn(folder).empty(), !GetParam().is(LeavesCopy));
    file = folder + "/a-folder.conf";
    fs::create_directories(file);
    EXPECT_EQ(run(), GetParam().noFile);
    file = folder + "/a-pipe.conf";  // nobody is waited for who might write to it
    ASSERT_EQ(::mkfifo(file.c_str(), 0600), 0);
    EXPECT_EQ(run(), GetParam().noFile);
    file = "/missing/httpd.conf";
    EXPECT_EQ(run(), GetParam().is(CopyFirst) ? GetParam().noScratch : GetParam().noFile);
    EXPECT_FALSE(fs::exists("/missing"));

    refill("unreadable");
    fs::permissions(file, fs::perms(0600));
    fs::permissions(folder, fs::perms(0777));
    {
        const WithoutPrivileges account;
        EXPECT_EQ(run(), GetParam().noFile);
    }
    EXPECT_EQ(readFile(file), editedConfiguration());
}

TEST_P(Rewriting, SaysWhenTheFileCannotBeReadToItsEnd) {
    fs::remove(file);
    fs::create_symlink("/proc/self/mem", file);  // it opens, and the first read fails
    EXPECT_EQ(run(), GetParam().noFile);
    EXPECT_TRUE(fs::is_symlink(file));
}

TEST_P(Rewriting, NeedsAFolderThatItCanWriteTo) {
    {
        const WithoutPrivileges account;
        EXPECT_EQ(run(), GetParam().noScratch);
    }
    expectUntouched();
    makeReadOnly(copyFolder());  // not even root can
    EXPECT_EQ(run(), GetParam().noScratch);
    expectUntouched();
}

TEST_P(Rewriting, LeavesTheOldTextWhenTheDiskIsFull) {
    std::string text = editedConfiguration();
    while (text.size() < 200'000) {
        text += "# " + std::string(77, 'x') + "\n";
    }
    for (const size_t room : {0U, 4096U, 90'112U}) {
        folder = scratch("disk" + std::to_string(room));
        file = folder + "/httpd.conf";
        mountSmallDisk(copyFolder(), "300k");
        writeFile(file, text);
        fillDisk(copyFolder(), room);
        EXPECT_EQ(run(), GetParam().noScratch) << room;
        EXPECT_EQ(readFile(file), text);
        EXPECT_EQ(temporaryFilesIn(copyFolder()), "filler ");
    }
}

TEST_P(Rewriting, LosesWhatStandsBehindALineOverItsBound) {
    const size_t bound = GetParam().bound == 0 ? 100'000 : GetParam().bound;
    for (const size_t length : {bound, bound + 1}) {
        for (const char* rest : {"Listen 81\n", ""}) {  // a last line without a newline is a line, too
            refill("bound");
            const std::string line(length, 'x'), end = *rest == '\0' ? "" : "\n";
            writeFile(file, editedConfiguration() + line + end + rest);
            EXPECT_EQ(run(), GetParam().done);
            const std::string after = readFile(file);
            const bool lost = GetParam().bound != 0 && length > bound;
            EXPECT_EQ(after.find(line + "\n" + rest) == std::string::npos, lost);
            EXPECT_TRUE(!lost || after.find("Listen 81\n") == std::string::npos);
        }
    }
}

TEST_P(Rewriting, TakesAnythingForAConfiguration) {
    std::string binary;
    for (int i = 0; i < 70'000; ++i) {
        binary += i % 100 == 99 ? '\n' : static_cast<char>(i * 7 + i / 256);
    }
    for (const std::string& text :
         {std::string(), std::string(1, '\0'), std::string("\n"), binary, std::string(200'000, 'x')}) {
        refill("anything");
        writeFile(file, text);
        EXPECT_EQ(run(), GetParam().notFound);
        if (GetParam().is(Keeps)) {
            EXPECT_EQ(readFile(file), text);
        }
    }
}

TEST_P(Rewriting, IsNotLedAstrayByWhatStandsInPlaceOfTheCopy) {
    writeFile(scratch("victim"), "precious\n");
    for (const std::string& name : temporaryFileNames()) {
        fs::create_symlink(scratch("victim"), name);
    }
    EXPECT_EQ(run(), GetParam().done);
    EXPECT_EQ(readFile(scratch("victim")), "precious\n");
    EXPECT_FALSE(fs::is_symlink(file));

    refill("blocked");
    for (const std::string& name : temporaryFileNames()) {
        fs::create_directories(name);
    }
    EXPECT_EQ(run(), GetParam().noScratch);
    EXPECT_EQ(readFile(file), editedConfiguration());

    refill("piped");
    std::vector<int> readers;
    for (const std::string& name : temporaryFileNames()) {
        fs::remove(name);
        ASSERT_EQ(::mkfifo(name.c_str(), 0600), 0);
        readers.push_back(::open(name.c_str(), O_RDWR | O_NONBLOCK));
    }
    EXPECT_EQ(run(), GetParam().noScratch);
    EXPECT_TRUE(fs::is_regular_file(file));
    std::for_each(readers.begin(), readers.end(), ::close);
}
