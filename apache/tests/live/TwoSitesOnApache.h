// Two created sites that a real Apache serves.
#pragma once

#include <CZPWebsite.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <initializer_list>
#include <string>

#include "support/Files.h"
#include "support/LiveApache.h"
#include "support/Sites.h"

namespace zp::test {

// one.example and two.example at 127.0.0.1. Apache answers with the first for a name that it does not know.
class TwoSitesOnApache : public ::testing::Test {
protected:
    // With the files of further modules.
    TwoSitesOnApache(std::initializer_list<const char*> modules = {})
        : website_(nullptr, LiveApache::configuration()) {
        addSiteAccounts();
        for (const std::string module : modules) {
            std::filesystem::create_symlink("../mods-available/" + module,
                                            "/etc/apache2/mods-enabled/" + module);
        }
        apache_.start();
        for (const Site& site : {Site{.domain = "one.example", .address = "127.0.0.1"},
                                 Site{.domain = "two.example", .address = "127.0.0.1"}}) {
            writeFile(site.parent + site.domain + "/home", "");
            VHostEntry request = requestFor(site, '1');
            EXPECT_EQ(website_.CreateWebsite(&request), 94);
            writeFile(site.parent + site.domain + "/www/html/index.html", site.domain);
        }
        settle();
    }

    // Puts the configuration into effect, which Apache must accept.
    void settle() {
        const std::string verdict = LiveApache::syntaxCheck();
        EXPECT_NE(verdict.find("Syntax OK"), std::string::npos) << verdict;
        apache_.restartGracefully();
    }
    static std::string answerFor(const std::string& host, const std::string& path = "/",
                                 const std::string& address = "127.0.0.1") {
        return LiveApache::get(host, path, address).body;
    }

    LiveApache apache_;
    CZPWebsite website_;
};

}  // namespace zp::test
