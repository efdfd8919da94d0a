// What visitors of a real Apache meet: scripts, protected directories, and a Rails application's static
// pages. suPHP, FastCGI and the hosting limits need modules that Debian does not ship; they are tested
// without a server.
#include <ApacheHelper.h>
#include <PrivateFolder.h>
#include <RubyOnRails.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "live/TwoSitesOnApache.h"
#include "support/Watching.h"

using namespace zp::test;

namespace {

class ScriptsOnApache : public TwoSitesOnApache {
protected:
    ScriptsOnApache() : TwoSitesOnApache({"cgid.load", "cgid.conf", "rewrite.load"}) {}
    static LiveApache::Answer get(const std::string& path) { return LiveApache::get("one.example", path); }

    static constexpr const char* Configuration = "/etc/apache2/apache2.conf";
    const std::string content_ = "/var/www/one.example/www/html";
};

}  // namespace

TEST_F(ScriptsOnApache, PerlRunsBetweenOnAndOff) {
    const std::string script = "#!/usr/bin/perl\nprint \"Content-Type: text/plain\\n\\n\", 6 * 7;\n";
    writeFile(content_ + "/answer.pl", script);
    std::filesystem::permissions(content_ + "/answer.pl", std::filesystem::perms(0755));
    StringVector directives{"Options +ExecCGI"};
    EXPECT_EQ(ApacheHelper().Apache_addDirectoryTag(Configuration, "one.example", content_, directives), 0);
    CZPWebsite website(nullptr, Configuration);
    for (int time = 0; time < 2; ++time) {
        EXPECT_EQ(website.EnablePerl("one.example"), 0);
        settle();
        EXPECT_EQ(get("/answer.pl").body, "42");
        EXPECT_EQ(website.DisablePerl("one.example"), 0);
        settle();
        EXPECT_EQ(get("/answer.pl").body, script);
    }
}

TEST_F(ScriptsOnApache, AProtectedFolderLetsItsUsersIn) {
    const std::string folder = content_ + "/private";
    writeFile(folder + "/index.html", "inside");
    PrivateFolder manager(nullptr);
    const auto statusFor = [](const std::string& user) {
        return LiveApache::getAs(user, "one.example", "/private/").status;
    };
    const CapturedOutput output;
    EXPECT_EQ(get("/private/").body, "inside");
    EXPECT_EQ(manager.addPrivateFolder(folder, "ann", "a p'w"), 1602);
    EXPECT_EQ(manager.addPrivateFolder(folder, "bob", "b"), 1602);
    EXPECT_EQ(get("/private/").status, 401);
    EXPECT_EQ(LiveApache::getAs("ann:a p'w", "one.example", "/private/").body, "inside");
    EXPECT_EQ(statusFor("bob:b"), 200);
    EXPECT_EQ(statusFor("bob:a p'w"), 401);
    EXPECT_EQ(get("/private/.htpasswd").status, 403);
    EXPECT_EQ(manager.editPrivateFolder(folder, folder, "bob", "c"), 1605);
    EXPECT_EQ(statusFor("bob:b"), 401);
    EXPECT_EQ(statusFor("bob:c"), 200);
    EXPECT_EQ(manager.deletePrivateFolder(folder, "ann"), 1603);
    EXPECT_EQ(statusFor("ann:a p'w"), 401);
    EXPECT_EQ(statusFor("bob:c"), 200);
    EXPECT_EQ(manager.deletePrivateFolder(folder, "bob"), 1603);
    EXPECT_EQ(get("/private/").body, "inside") << "with its last user the folder is open again";
}

TEST_F(ScriptsOnApache, ARailsApplicationServesItsStaticPages) {
    writeFile(content_ + "/index.html", "default");
    RubyOnRails rails(nullptr, Configuration);
    EXPECT_EQ(rails.defaultToROR("one.example", "app", "siteowner"), 0);
    writeFile("/var/www/one.example/www/app/public/index.html", "rails");
    writeFile("/var/www/one.example/www/app/public/about.html", "about");
    settle();
    EXPECT_EQ(get("/").body, "rails");
    EXPECT_EQ(get("/about").body, "about") << "by the rule that adds .html";
    EXPECT_EQ(get("/about.html").body, "about");
    EXPECT_EQ(rails.RORToDefault("one.example", "app"), 0);
    settle();
    EXPECT_EQ(get("/").body, "default");
    EXPECT_EQ(get("/about").status, 404);
}
