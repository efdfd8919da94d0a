// Virtual directories, served by a real Apache.
#include <CZPWebsite.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>

#include "support/Files.h"
#include "support/LiveApache.h"
#include "support/Sites.h"
#include "support/VirtualDirectories.h"

using namespace zp::test;

namespace {

const std::string Home = "/var/www/example.com", Html = Home + "/www/html";
const char* const configuration = LiveApache::configuration();

class VirtualDirectoryOnApache : public ::testing::Test {
protected:
    void SetUp() override {
        addSiteAccounts();
        std::filesystem::create_directories(Home);
        ASSERT_EQ(::chown(Home.c_str(), 2001, 2002), 0);  // siteowner
        VHostEntry request = requestFor({.address = "127.0.0.1"}, '1');
        ASSERT_EQ(CZPWebsite(nullptr, configuration).CreateWebsite(&request), 94);
        writeFile(Html + "/files/page", "a page");
        apache.start();
    }
    // The real program, as the panel runs it.
    static void addUser(const std::string& file, const std::string& name, const std::string& password) {
        const std::string command = "htpasswd -b " + file + " " + name + " " + password + " 2>/dev/null";
        ASSERT_EQ(std::system(command.c_str()), 0);
    }
    static int status(const std::string& path) { return LiveApache::get("example.com", path).status; }
    static int statusAs(const std::string& credentials, const std::string& path) {
        return LiveApache::getAs(credentials, "example.com", path).status;
    }

    LiveApache apache;
};

}  // namespace

TEST_F(VirtualDirectoryOnApache, LetsInTheUsersOfItsPasswordFileAlone) {
    const std::string folder = Html + "/files";
    const Directory directory{.folder = folder, .authenticated = '1'};
    EXPECT_EQ(createDirectory(configuration, directory), 83);
    const std::pair<std::string, std::string> files[] = {
        {Home + "/webusers_example.com.htpasswd", "siteuser"},
        {folder + "/webusers.htpasswd", "folderuser"}};
    for (const auto& [file, user] : files) {
        SCOPED_TRACE(file);
        apache.restartGracefully();
        EXPECT_EQ(statusAs(user + ":secret", "/files/page"), 401) << "no users yet";
        addUser(file, user, "secret");
        EXPECT_EQ(status("/files/page"), 401);
        EXPECT_EQ(statusAs(user + ":wrong", "/files/page"), 401);
        EXPECT_EQ(LiveApache::getAs(user + ":secret", "example.com", "/files/page").body, "a page");
        EXPECT_EQ(updateDirectory(configuration, directory), 89);  // now with a file of its own
    }
    EXPECT_EQ(deleteDirectory(configuration, folder), 85);
    apache.restartGracefully();
    EXPECT_EQ(status("/files/page"), 200);
}

TEST_F(VirtualDirectoryOnApache, ShowsAnIndexAsItsOptionsSay) {
    const std::string folder = Html + "/files";
    const auto withIndexes = [&](char sign) {
        Directory directory{.folder = folder};
        directory.options.Indexes = sign;
        return directory;
    };
    EXPECT_EQ(createDirectory(configuration, withIndexes('-')), 83);
    apache.restartGracefully();
    EXPECT_EQ(status("/files/"), 403);
    EXPECT_EQ(updateDirectory(configuration, withIndexes('+')), 89);
    apache.restartGracefully();
    EXPECT_NE(LiveApache::get("example.com", "/files/").body.find("Index of /files"), std::string::npos);
    EXPECT_EQ(updateDirectory(configuration, withIndexes('-')), 89);
    apache.restartGracefully();
    EXPECT_EQ(status("/files/"), 403);
}

TEST_F(VirtualDirectoryOnApache, IsOpenOrShutByItsHostLists) {
    const std::string folder = Html + "/files";
    EXPECT_EQ(createDirectory(configuration, {.folder = folder, .deny = "all", .order = 1}), 83);
    apache.restartGracefully();
    EXPECT_EQ(status("/files/page"), 403);
    EXPECT_EQ(updateDirectory(configuration, {.folder = folder, .allow = "all", .order = 1}), 89);
    apache.restartGracefully();
    EXPECT_EQ(status("/files/page"), 200);
    const std::string verdict = LiveApache::syntaxCheck();
    EXPECT_NE(verdict.find("Syntax OK"), std::string::npos) << verdict;
}
