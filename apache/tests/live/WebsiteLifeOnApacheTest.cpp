// The life of websites that a real Apache serves: what each change of the configuration means to visitors.
#include <cstdlib>

#include "live/TwoSitesOnApache.h"

using namespace zp::test;

using WebsiteLifeOnApache = TwoSitesOnApache;

TEST_F(WebsiteLifeOnApache, AStoppedSiteGivesWayToAnotherUntilItIsStarted) {
    ASSERT_EQ(answerFor("one.example"), "one.example");
    EXPECT_EQ(website_.StopWebsite("one.example"), 30);
    settle();
    EXPECT_EQ(answerFor("one.example"), "two.example");
    EXPECT_EQ(website_.GetWebsiteStatus("one.example"), 33);
    EXPECT_EQ(website_.StartWebsite("one.example"), 29);
    settle();
    EXPECT_EQ(answerFor("one.example"), "one.example");
    EXPECT_EQ(website_.GetWebsiteStatus("one.example"), 34);
    EXPECT_EQ(website_.DeleteWebsite("two.example", 0), 24);
    settle();
    EXPECT_EQ(answerFor("two.example"), "one.example");
}

TEST_F(WebsiteLifeOnApache, ASiteAnswersToAHostHeaderWhileItHasIt) {
    EXPECT_EQ(answerFor("more.example"), "one.example");
    EXPECT_EQ(website_.AddHostHeader("two.example", "more.example"), 0);
    settle();
    EXPECT_EQ(answerFor("more.example"), "two.example");
    EXPECT_EQ(website_.DeleteHostHeader("two.example", "www.two.example"), 0);
    settle();
    EXPECT_EQ(answerFor("more.example"), "two.example") << "behind the blank that now heads the list";
    EXPECT_EQ(answerFor("www.two.example"), "one.example");
    EXPECT_EQ(website_.DeleteHostHeader("two.example", "more.example"), 0);
    settle();
    EXPECT_EQ(answerFor("more.example"), "one.example");
    EXPECT_EQ(answerFor("two.example"), "two.example");
}

TEST_F(WebsiteLifeOnApache, ARotatedLogIsPackedAndWrittenAnew) {
    const std::string folder = "/var/www/one.example/log/httpd/";
    EXPECT_EQ(LiveApache::get("one.example", "/before").status, 404);
    settle();  // all that was asked is logged
    EXPECT_EQ(website_.rotateLog(LiveApache::configuration(), "one.example", "0", "ZIPandDEL"), 1);
    EXPECT_EQ(namesIn(folder), (StringVector{"access_log-" + currentTimeStamp() + ".tar.gz", "error_log"}));
    ASSERT_EQ(std::system(("tar -xzf " + folder + "access_log-*.tar.gz -C " + scratch()).c_str()), 0);
    EXPECT_NE(readFile(scratch("access_log")).find("\"GET /before HTTP/1.1\" 404"), std::string::npos);
    settle();
    EXPECT_EQ(LiveApache::get("one.example", "/behind").status, 404);
    settle();
    const std::string log = readFile(folder + "access_log");
    EXPECT_NE(log.find("\"GET /behind HTTP/1.1\" 404"), std::string::npos);
    EXPECT_EQ(log.find("/before"), std::string::npos);
}
