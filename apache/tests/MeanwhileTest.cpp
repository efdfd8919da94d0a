// What happens in the middle: before every single call of a step on an owner's ground the owner swaps
// something, or the call fails.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>

#include "CZPWebsite.h"
#include "Tracer.h"
#include "conf/LineReader.h"
#include "host/Accounts.h"
#include "host/Effect.h"
#include "host/Machine.h"
#include "host/ReadAll.h"
#include "support/Files.h"

using namespace zp::test;
using Step = zp::host::Effect::Step;
namespace faults = zp::faults;
namespace fs = std::filesystem;

namespace {

constexpr uid_t Siteowner = 2001;
constexpr const char* Unreadable = "/proc/self/mem";  // opens as a file does; its first byte is an error

class Meanwhile : public ::testing::Test {
protected:
    // The ground as `lay` makes it, and the step with a fault; whether the step says that it is done.
    bool take(const zp::host::Effect& effect, const faults::Fault& fault, const std::string& lay) {
        EXPECT_EQ(std::system(("rm -rf " + Home + "; mkdir " + Home + "; cd " + Home + "; " + lay +
                               "; chown " + std::to_string(Siteowner) + " " + Home)
                                  .c_str()),
                  0);
        run = faults::run(fault, [&] { return zp::host::carryOut(effect) ? 0 : 1; });
        return WIFEXITED(run.status) && WEXITSTATUS(run.status) == 0;
    }
    // The same before each of its calls, and what is looked at afterwards.
    void beforeEach(faults::Kind kind, const zp::host::Effect& effect, const std::string& lay,
                    const std::function<void(bool done)>& look) {
        ASSERT_TRUE(take(effect, {}, lay));
        const int calls = run.calls;
        ASSERT_GE(calls, 3);
        for (int call = 1; call <= calls; ++call) {
            const bool done = take(effect, {kind, call}, lay);
            SCOPED_TRACE(run.where);
            look(done);
        }
    }

    const std::string Home = scratch("home"), Tree = Home + "/tree";
    faults::Run run;
};

}  // namespace

TEST_F(Meanwhile, NothingElseIsTakenForTheDirectoryThatWasMade) {
    const char* const baits[] = {"install -d -m 700 -o 2002 bait", "install -d -m 755 bait",
                                 "install -d -m 700 bait; touch bait/roots"};
    for (const std::string bait : baits) {
        ::setenv("ZPFAULT_RUN", ("cd " + Home + " && [ ! -d tree ] || mv -T bait tree").c_str(), 1);
        int swapped = 0;
        beforeEach(faults::Kind::Meanwhile,
                   {.step = Step::MakeDirectory, .path = Tree, .user = Siteowner, .mode = 0750}, bait,
                   [&](bool done) {
                       const bool isSwapped = !fs::exists(Home + "/bait");
                       swapped += isSwapped && !done ? 1 : 0;
                       const std::string place = Home + (isSwapped ? "/tree" : "/bait");
                       EXPECT_TRUE(done || owner(place) != "2001:0") << bait;
                   });
        EXPECT_GE(swapped, 1) << bait;
    }
}

TEST_F(Meanwhile, ADirectoryThatMovesAwayTakesTheWalkNowhereElse) {
    // Whichever of the two is entered first, the other's name leads to something else where it goes.
    const std::string lay =
        "mkdir -p tree/a tree/b beside/a beside/b other/a other/b; touch tree/a/x tree/b/x "
        "beside/b/kept other/a/kept; rmdir beside/a other/b";
    ::setenv("ZPFAULT_RUN", ("cd " + Home + "; mv tree/a beside/a; mv tree/b other/b; true").c_str(), 1);
    const zp::host::Effect steps[] = {{.step = Step::RemoveTree, .path = Tree},
                                      {.path = Tree, .user = Siteowner, .deep = true}};
    for (const auto& step : steps) {
        beforeEach(faults::Kind::Meanwhile, step, lay, [&](bool) {
            for (const char* kept : {"/beside/b/kept", "/other/a/kept"}) {
                EXPECT_EQ(owner(Home + kept), "0:0");
            }
        });
    }
}

TEST_F(Meanwhile, WhatCouldNotBeGivenIsTold) {
    const zp::host::Effect steps[] = {{.step = Step::MakeDirectory, .path = Tree, .user = Siteowner},
                                      {.step = Step::MakeFile, .path = Tree, .user = Siteowner},
                                      {.path = Tree, .user = Siteowner, .deep = true}};
    for (const auto& step : steps) {
        beforeEach(faults::Kind::Eio, step, step.deep ? "mkdir -p tree/a; touch tree/a/x" : "true",
                   [&](bool done) {
                       EXPECT_TRUE(!done || owner(Tree) == "2001:0");
                       EXPECT_TRUE(!done || !step.deep || owner(Tree + "/a/x") == "2001:0");
                   });
    }
}

TEST_F(Meanwhile, APipeInThePlaceOfALogIsNotWaitedFor) {
    const std::string file = scratch("httpd.conf");
    writeFile(file, "<VirtualHost *>\nServerName a.example\nCustomLog " + Home +
                        "/log/access_log combined\n</VirtualHost>\n");
    ::setenv("ZPFAULT_RUN", ("cd " + Home + "/log && mv access_log moved && mkfifo access_log").c_str(), 1);
    ASSERT_EQ(
        std::system(
            ("mkdir -p " + Home + "/log; cd " + Home + "; touch log/access_log; chown -R 2001 .").c_str()),
        0);
    run = faults::run({.kind = faults::Kind::Meanwhile, .call = 1, .name = "renameat"}, [&] {
        ::alarm(20);
        return CZPWebsite().rotateLog(file, "a.example", "0", "ZIPandDEL");
    });
    EXPECT_TRUE(run.hit && WIFEXITED(run.status) && WEXITSTATUS(run.status) == 0);
    EXPECT_TRUE(fs::is_fifo(Home + "/log/access_log"));
    EXPECT_EQ(std::distance(fs::directory_iterator(Home + "/log"), fs::directory_iterator()), 2);
}

TEST(ReadFault, IsToldAndEndsTheReading) {
    std::string told;
    zp::host::Machine machine = zp::host::machine();
    machine.fault = [&](const std::string& what) { told += what; };
    const zp::host::MachineInUse inUse(machine);
    zp::conf::LineReader reader(Unreadable, zp::conf::bound::None);
    zp::conf::Line line;
    EXPECT_TRUE(reader.isOpen() && !reader.read(line) && reader.failed());
    EXPECT_NE(told, "");
    const zp::host::Descriptor file(::open(Unreadable, O_RDONLY | O_CLOEXEC));
    EXPECT_EQ(zp::host::readAll(file.number()), std::nullopt);
}

// A part of another account's name makes no unknown account one that could not be looked up.
TEST(ReadFault, IsNoneWhereAnAccountIsUnknown) {
    bool told = false;
    zp::host::Machine machine = zp::host::machine();
    machine.fault = [&](const std::string&) { told = true; };
    const zp::host::MachineInUse inUse(machine);
    EXPECT_FALSE(zp::host::findAccount("roo") || zp::host::findAccount("oot") || told);
}
