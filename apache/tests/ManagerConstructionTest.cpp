// What managers say and keep when they are built.
#include <CZPUsers.h>
#include <CZPVirtualDirectory.h>
#include <CZPWebsite.h>
#include <CustomErrorPages.h>
#include <PrivateFolder.h>
#include <RubyOnRails.h>
#include <WebmailManager.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <ctime>
#include <filesystem>
#include <functional>

#include "support/FakeTools.h"
#include "support/Files.h"
#include "support/Sites.h"
#include "support/Told.h"
#include "support/Watching.h"

using namespace zp::test;

namespace {

StringVector scratchNamesOf(const FakeTools& tools) {
    StringVector names;
    for (const std::string& call : tools.calls()) {
        names.push_back(call.substr(3, call.rfind(' ') - 3));  // mv NAME FILE
    }
    return names;
}

}  // namespace

TEST(ManagerConstruction, ReportsTheModuleAndNothingElse) {
    const char* conf = "/etc/httpd/conf/httpd.conf";
    const std::pair<const char*, std::function<void(CZPTrackManager*)>> managers[] = {
        {"CZPWebsite", [](auto* t) { CZPWebsite{t}; }},
        {"CZPWebsite with a configuration", [&](auto* t) { CZPWebsite(t, conf); }},
        {"CZPVirtualDirectory", [](auto* t) { CZPVirtualDirectory{t}; }},
        {"CZPVirtualDirectory with a configuration", [&](auto* t) { CZPVirtualDirectory(t, conf); }},
        {"CZPVirtualDirectory of an installation",
         [&](auto* t) { CZPVirtualDirectory(t, conf, "/usr/panel"); }},
        {"CZPUsers", [](auto* t) { CZPUsers{t}; }},
        {"CZPUsers of a folder", [](auto* t) { CZPUsers(t, "/etc", "example.com", "/secure/area"); }},
        {"CZPUsers of nothing", [](auto* t) { CZPUsers(t, nullptr, nullptr, nullptr); }},
        {"WebmailManager", [](auto* t) { WebmailManager{t}; }},
        {"RubyOnRails", [&](auto* t) { RubyOnRails(t, conf); }},
        {"PrivateFolder", [](auto* t) { PrivateFolder{t}; }},
        {"CustomErrorPages", [&](auto* t) { CustomErrorPages(t, conf); }},
    };
    std::string told;
    for (const auto& [name, build] : managers) {
        CZPTrackManager tracking;
        build(&tracking);
        build(nullptr);
        told += std::string(name) + ":";
        for (const std::string& call : callsOf(tracking)) {
            told += " " + call;
        }
        told += "\n";
    }
    expectTold(told, R"(CZPWebsite: module Apache
CZPWebsite with a configuration: module Apache properties HDCFFile=/etc/httpd/conf/httpd.conf
CZPVirtualDirectory: module WebServerManager
CZPVirtualDirectory with a configuration: module WebServerManager
CZPVirtualDirectory of an installation: module WebServerManager
CZPUsers: module WebServerManager
CZPUsers of a folder: module WebServerManager
CZPUsers of nothing: module WebServerManager
WebmailManager: module WebmailManager
RubyOnRails:
PrivateFolder: module WebServerManager
CustomErrorPages: module WebServerManager)");
    const RubyOnRails rails;
    const CustomErrorPages pages;
}

TEST(ManagerConstruction, WithoutAConfigurationNothingIsTouched) {
    VHostEntry request = requestFor({}, '1');
    const auto before = namesIn("/etc");
    CZPTrackManager tracking;
    EXPECT_EQ(CZPWebsite(&tracking).CreateWebsite(&request), 21);
    EXPECT_EQ(CZPWebsite().CreateWebsite(&request), 21);
    EXPECT_EQ(CZPWebsite().EnableHostingLimits(), 1);
    EXPECT_EQ(namesIn("/etc"), before);
}

TEST(ManagerConstruction, ManagersOfOneSecondShareTheScratchFile) {
    const FakeTools tools;
    tools.watch("mv");
    const std::string file = scratch("conf/httpd.conf");
    writeFile(file, "Listen 80\n");
    time_t second = 0;
    StringVector expected;
    do {
        second = std::time(nullptr);
        CZPWebsite one(nullptr, file.c_str());
        CZPWebsite two(nullptr, file.c_str());
        EXPECT_EQ(one.EnableHostingLimits(), 0);
        EXPECT_EQ(two.EnableHostingLimits(), 0);
        expected.insert(expected.end(), 2, scratch("conf/" + std::to_string(second)));
    } while (std::time(nullptr) != second && expected.size() < 20 && (expected.clear(), true));
    const auto names = scratchNamesOf(tools);
    EXPECT_EQ(StringVector(names.end() - 2, names.end()), expected);
}

TEST(ManagerConstruction, TheScratchFileStandsBesideTheConfiguration) {
    const FakeTools tools;
    tools.watch("mv");
    std::string deep = scratch("deep");
    while (deep.size() < 700) {
        deep += "/a-folder-with-a-rather-long-name";
    }
    std::filesystem::create_directories(deep);
    ASSERT_EQ(::chdir(deep.c_str()), 0);
    for (const std::string& folder : {deep, std::string(".")}) {  // a bare name: the working directory
        const std::string file = folder == "." ? "httpd.conf" : deep + "/httpd.conf";
        writeFile(deep + "/httpd.conf", "Listen 80\n");
        EXPECT_EQ(CZPWebsite(nullptr, file.c_str()).EnableHostingLimits(), 0);
        const std::string name = scratchNamesOf(tools).back();
        EXPECT_EQ(name.substr(0, name.rfind('/')), folder);
        EXPECT_EQ(name.find_first_not_of("0123456789", folder.size() + 1), std::string::npos) << name;
    }
    EXPECT_EQ(namesIn(deep), StringVector{"httpd.conf"});
}
