// Created websites, served by a real Apache.
#include <CZPWebsite.h>
#include <gtest/gtest.h>

#include "support/Files.h"
#include "support/LiveApache.h"
#include "support/Sites.h"

using namespace zp::test;

namespace {

char create(const Site& site, char ipSwitch) {
    const std::string home = site.parent + site.domain;
    writeFile(home + "/.keep", "");
    VHostEntry request = requestFor(site, ipSwitch);
    const char result = CZPWebsite(nullptr, LiveApache::configuration()).CreateWebsite(&request);
    writeFile(home + "/www/html/index.html", "this is " + site.domain);
    return result;
}

}  // namespace

TEST(WebsiteOnApache, AnswersByItsNamesAfterAGracefulRestart) {
    addSiteAccounts();
    // A block of the address's own, to be replaced, at an address that is announced.
    writeFile(LiveApache::configuration(), readFile(LiveApache::configuration()) +
                                               "NameVirtualHost 127.0.0.3\n<VirtualHost 127.0.0.3>\n"
                                               "ServerName 127.0.0.3\n</VirtualHost>\n");
    LiveApache apache;
    apache.start();
    const std::pair<Site, char> sites[] = {
        {{.domain = "plain.example", .address = "127.0.0.2"}, '0'},
        {{.domain = "own.example", .address = "127.0.0.3"}, '2'},
        {{.domain = "one.example", .address = "127.0.0.1"}, '1'},
        {{.domain = "two.example", .address = "127.0.0.1"}, '1'},
        {{.domain = "six.example", .address = "::1"}, '1'},
        {{.domain = "Bücher.example", .address = "127.0.0.1", .asciiDomain = "xn--bcher-kva.example"}, '1'},
    };
    for (const auto& [site, ipSwitch] : sites) {
        EXPECT_EQ(create(site, ipSwitch), 94) << site.domain;
    }
    EXPECT_EQ(LiveApache::get("one.example").body.find("this is"), std::string::npos)
        << "not restarted yet";
    const std::string verdict = LiveApache::syntaxCheck();
    EXPECT_TRUE(verdict.ends_with("Syntax OK\n")) << verdict;
    EXPECT_NE(verdict.find("NameVirtualHost has no effect"), std::string::npos) << verdict;

    for (int restart = 0; restart < 2; ++restart) {
        apache.restartGracefully();
        for (const auto& [site, ipSwitch] : sites) {
            const std::string& name = site.asciiDomain.empty() ? site.domain : site.asciiDomain;
            for (const std::string& host : {name, "www." + name}) {
                const auto answer = LiveApache::get(host, "/", site.address);
                EXPECT_EQ(answer.status, 200) << host;
                EXPECT_EQ(answer.body, "this is " + site.domain);
            }
        }
    }
    EXPECT_NE(readFile("/var/www/two.example/log/httpd/access_log").find("\"GET / HTTP/1.1\" 200"),
              std::string::npos);
}
