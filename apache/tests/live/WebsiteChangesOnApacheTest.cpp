// What a move to another address, an update and a suspension mean to visitors.
#include "live/TwoSitesOnApache.h"

using namespace zp::test;

using WebsiteChangesOnApache = TwoSitesOnApache;

TEST_F(WebsiteChangesOnApache, ASiteMovesToAnAddressOfItsOwnAndBack) {
    EXPECT_EQ(answerFor("two.example", "/", "127.0.0.2").find("two.example"), std::string::npos);
    EXPECT_EQ(website_.NameBasedToIPBased("127.0.0.1", "127.0.0.2", "two.example"), 123);
    settle();
    EXPECT_EQ(answerFor("any.example", "/", "127.0.0.2"), "two.example");
    EXPECT_EQ(answerFor("two.example"), "one.example");
    EXPECT_EQ(website_.IPBasedToNameBased("127.0.0.2", "127.0.0.1", "two.example"), 121);
    settle();
    EXPECT_EQ(answerFor("two.example"), "two.example");
    EXPECT_EQ(answerFor("any.example"), "one.example");
    EXPECT_NE(answerFor("any.example", "/", "127.0.0.2"), "two.example");
}

TEST_F(WebsiteChangesOnApache, SitesShareAnIPv6Address) {
    EXPECT_EQ(website_.NameBasedToIPBased("127.0.0.1", "::1", "two.example"), 123);
    settle();
    EXPECT_EQ(answerFor("any.example", "/", "::1"), "two.example");
    for (const auto& [from, domain] :
         {std::pair("::1", "two.example"), std::pair("127.0.0.1", "one.example")}) {
        EXPECT_EQ(website_.IPBasedToNameBased(from, "::1", domain), 121);
        settle();
    }
    EXPECT_EQ(answerFor("one.example", "/", "::1"), "one.example");
    EXPECT_EQ(answerFor("two.example", "/", "::1"), "two.example");
}

TEST_F(WebsiteChangesOnApache, AnUpdateIsObeyedAndASuspendedSiteShowsNothingOfItself) {
    const std::string content = "/var/www/two.example/www/html/";
    writeFile(content + "start.html", "the start");
    writeFile(content + "missing.html", "not here");
    writeFile("/var/www/shared/page.html", "a shared page");
    UpdateVHost record{};
    record.pDomain = "two.example";
    record.ServerAlias = {"new.example", "newer.example"};
    record.DirIndex = {"start.html"};
    record.Alias = {{"/shared", "/var/www/shared"}};
    record.Redirect = {{"/old", "http://one.example/new"}};
    record.ProxyPass = {{"/app", "http://app.example/"}};
    record.ErrorDoc = {{"404", "/missing.html"}};
    EXPECT_EQ(website_.UpdateWebsite(&record), 96);
    settle();
    EXPECT_EQ(answerFor("newer.example"), "the start");
    EXPECT_EQ(answerFor("www.two.example"), "one.example") << "no longer a name of the site";
    EXPECT_EQ(answerFor("two.example", "/shared/page.html"), "a shared page");
    EXPECT_EQ(answerFor("two.example", "/absent.html"), "not here");
    for (const auto& [path, target] :
         {std::pair("/old", "http://one.example/new"), std::pair("/app", "http://app.example/")}) {
        const auto answer = LiveApache::get("two.example", path);
        EXPECT_EQ(answer.status, 302);
        EXPECT_NE(answer.body.find(target), std::string::npos) << answer.body;
    }

    record.Redirect = {{"/old", ""}};
    record.Alias = {{"/shared", ""}};
    writeFile("/etc/apache2/message.htm/index.html", "suspended");
    writeFile("/etc/apache2/conf-enabled/message.conf",
              "<Directory /etc/apache2/message.htm>\nRequire all granted\n</Directory>\n");
    EXPECT_EQ(website_.EnableMessage(&record), 96);
    settle();
    EXPECT_EQ(answerFor("two.example"), "suspended");
    EXPECT_EQ(LiveApache::get("two.example", "/old").status, 404);
    EXPECT_EQ(LiveApache::get("two.example", "/start.html").status, 404);
    EXPECT_EQ(answerFor("new.example"), "one.example");

    EXPECT_EQ(website_.DisableMessage(&record, "/var/www/two.example"), 96);
    settle();
    EXPECT_EQ(answerFor("two.example"), "two.example") << "with the usual index again";
    EXPECT_EQ(LiveApache::get("two.example", "/shared/page.html").status, 404);
    EXPECT_EQ(LiveApache::get("two.example", "/app").status, 302);
}
