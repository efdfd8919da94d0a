// A created website, served by a real Apache.
#include <CZPWebsite.h>
#include <gtest/gtest.h>

#include "support/Files.h"
#include "support/LiveApache.h"
#include "support/Sites.h"

using namespace zp::test;

TEST(WebsiteOnApache, AnswersByNameAfterAGracefulRestart) {
    addSiteAccounts();
    LiveApache apache;
    apache.start();
    CZPTrackManager tracking;
    const Site sites[] = {{.domain = "one.example", .address = "127.0.0.1"},
                          {.domain = "two.example", .address = "127.0.0.1"}};
    for (const Site& site : sites) {
        const std::string home = site.parent + site.domain;
        writeFile(home + "/index.html", "");
        VHostEntry request = requestFor(site, '1');
        EXPECT_EQ(CZPWebsite(&tracking, LiveApache::configuration()).CreateWebsite(&request), 94);
        writeFile(home + "/www/html/index.html", "this is " + site.domain);
        EXPECT_EQ(LiveApache::get(site.domain).body.find("this is"), std::string::npos)
            << "not restarted yet";
    }
    const std::string verdict = LiveApache::syntaxCheck();
    EXPECT_NE(verdict.find("Syntax OK"), std::string::npos) << verdict;
    EXPECT_NE(verdict.find("NameVirtualHost has no effect"), std::string::npos) << verdict;
    apache.restartGracefully();
    for (const Site& site : sites) {
        EXPECT_EQ(LiveApache::get(site.domain).body, "this is " + site.domain);
        EXPECT_EQ(LiveApache::get("www." + site.domain).body, "this is " + site.domain);
    }
    apache.restartGracefully();
    EXPECT_EQ(LiveApache::get("one.example").status, 200);
}
