// What root gives where a site's owner commands: each of these is a way to become the owner of another's
// file.
#include "host/Effect.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "support/Files.h"

using namespace zp::test;
using zp::host::carryOut;
using Step = zp::host::Effect::Step;
namespace fs = std::filesystem;

namespace {

constexpr uid_t Siteowner = 2001, Third = 2002;

class EffectOnOwnersGround : public ::testing::Test {
protected:
    void SetUp() override {
        writeFile(Home + "/page", "");
        writeFile(Tree + "/page", "");
        writeFile(Victim, "precious\n");
        for (const std::string& path : {Home, Tree}) {
            ASSERT_EQ(::chown(path.c_str(), Siteowner, Siteowner), 0);
        }
    }
    void TearDown() override { EXPECT_EQ(owner(Victim) + " " + mode(Victim), "0:0 0644"); }

    static ino_t inodeOf(const std::string& path) {
        struct stat status {};
        return ::lstat(path.c_str(), &status) == 0 ? status.st_ino : 0;
    }

    const std::string Home = scratch("home"), Tree = Home + "/tree", Victim = scratch("victim");
};

}  // namespace

TEST_F(EffectOnOwnersGround, GivesAFileButNoSetIdBit) {
    EXPECT_TRUE(carryOut({.path = Home + "/page", .user = Siteowner, .mode = 0640}));
    EXPECT_EQ(owner(Home + "/page") + " " + mode(Home + "/page"), "2001:0 0640");
    EXPECT_FALSE(carryOut({.path = Home + "/page", .mode = 04755}));
    EXPECT_EQ(mode(Home + "/page"), "0640");
}

TEST_F(EffectOnOwnersGround, GivesNothingThatHasASecondNameOrIsAThirds) {
    fs::create_hard_link(Victim, Home + "/twin");
    EXPECT_FALSE(carryOut({.path = Home + "/twin", .user = Siteowner}));
    ASSERT_EQ(::chown((Home + "/page").c_str(), Third, Third), 0);
    EXPECT_FALSE(carryOut({.path = Home + "/page", .user = Siteowner}));
    EXPECT_EQ(owner(Home + "/page"), "2002:2002");
    fs::create_directory(Home + "/thirds");
    ASSERT_EQ(::chown((Home + "/thirds").c_str(), Third, Third), 0);
    EXPECT_FALSE(carryOut({.step = Step::ProvideDirectory, .path = Home + "/thirds", .user = Siteowner}));
    EXPECT_EQ(owner(Home + "/thirds"), "2002:2002");
}

TEST_F(EffectOnOwnersGround, FollowsNoCircleOfRootsLinks) {
    fs::create_symlink("circle", scratch("circle"));
    EXPECT_FALSE(carryOut({.path = scratch("circle/page"), .user = Siteowner}));
    EXPECT_FALSE(carryOut({.step = Step::GiveDirectory, .path = ""}))
        << "which is not the working directory";
}

TEST_F(EffectOnOwnersGround, PassesOverLinksInATreeAndTellsOfWhatItCouldNotGive) {
    fs::create_symlink(Victim, Tree + "/link");
    EXPECT_TRUE(carryOut({.path = Tree, .user = Siteowner, .mode = 0700, .deep = true}));
    EXPECT_EQ(owner(Tree + "/page") + " " + mode(Tree + "/page"), "2001:0 0700");
    struct stat link {};
    ASSERT_EQ(::lstat((Tree + "/link").c_str(), &link), 0);
    EXPECT_EQ(link.st_uid, 0U);
    fs::create_hard_link(Victim, Tree + "/twin");
    EXPECT_FALSE(carryOut({.path = Tree, .user = Siteowner, .deep = true}));
    EXPECT_FALSE(carryOut({.path = Tree + "/link", .user = Siteowner, .deep = true}));
}

TEST_F(EffectOnOwnersGround, GivesAndRemovesWhatWasMeantAndNothingInItsPlace) {
    const ino_t meant = inodeOf(Tree);
    fs::rename(Tree, Home + "/elsewhere");
    writeFile(Tree + "/roots", "");
    for (const Step step :
         {Step::GiveAccess, Step::GiveDirectory, Step::ProvideDirectory, Step::RemoveTree}) {
        EXPECT_FALSE(carryOut({.step = step, .path = Tree, .user = Siteowner, .inode = meant}));
    }
    EXPECT_EQ(owner(Tree), "0:0");
    EXPECT_EQ(namesIn(Tree), std::vector<std::string>{"roots"});
    EXPECT_TRUE(carryOut({.step = Step::RemoveTree, .path = Home + "/elsewhere", .inode = meant}));
    EXPECT_EQ(namesIn(Home), (std::vector<std::string>{"page", "tree"}));
}

TEST_F(EffectOnOwnersGround, GivesAndOpensNothingClosedThatMayHaveBeenMovedThere) {
    writeFile(Home + "/page", "root's");
    writeFile(Tree + "/closed/file", "");
    writeFile(Tree + "/thirds", "");
    writeFile(Home + "/roots/file", "");
    ASSERT_EQ(::chown((Tree + "/thirds").c_str(), Third, Third), 0);
    for (const std::string& path : {Home + "/page", Tree + "/thirds"}) {
        fs::permissions(path, fs::perms(0600));
    }
    for (const std::string& path : {Home + "/roots", Tree + "/closed"}) {
        fs::permissions(path, fs::perms(0700));
    }
    for (const Step step : {Step::GiveAccess, Step::GiveDirectory}) {
        EXPECT_FALSE(carryOut({.step = step, .path = Home + "/roots", .user = Siteowner, .mode = 0755}));
    }
    EXPECT_FALSE(carryOut({.path = Home + "/roots", .user = Siteowner, .deep = true}));
    EXPECT_EQ(owner(Home + "/roots") + " " + mode(Home + "/roots"), "0:0 0700");
    EXPECT_FALSE(carryOut({.path = Home + "/page", .user = Siteowner}));
    EXPECT_EQ(owner(Home + "/page"), "0:0");
    EXPECT_FALSE(carryOut({.path = Tree, .user = Siteowner, .mode = 0705, .deep = true}));
    EXPECT_EQ(owner(Tree + "/closed/file"), "0:0");
    EXPECT_EQ(owner(Tree + "/thirds") + " " + mode(Tree + "/thirds"), "2002:2002 0600");
    EXPECT_EQ(owner(Tree + "/page"), "2001:0");
}
