// The life of a website on every configuration of the collection.
#include <CZPWebsite.h>
#include <gtest/gtest.h>

#include "support/Files.h"
#include "support/Text.h"
#include "support/Watching.h"

using namespace zp::test;

namespace {

// What the operations find of example.com, and which sites are listed; the defaults are the ordinary case.
struct Found {
    StringVector sites = {"example.com"};
    int exists = 31;
    int status = 34;
    std::string root = "/var/www/example.com/www/html", address = "10.0.0.5";
    bool switchable = true;  // a stop finds it
    bool deletable = true;
    bool hasAlias = true;
    std::string lost = {};  // by a rewrite, beside empty lines
};

const Found Nothing = {{}, 32, 1, "", "", false, false, false};

const std::pair<std::string, Found> Collection[] = {
    {"block-never-closed.conf",
     {.sites = {"example.com", "open.example"},
      .lost = "<VirtualHost 10.0.0.5:80>\n\tServerName open.example\n\tServerAlias www.open.example\n"}},
    {"block-without-name.conf", {.sites = {"bare.example", "example.com"}}},
    {"bytes-beyond-ascii.conf", {.sites = {"bücher.example", "example.com"}}},
    {"commented-out-blocks.conf", {}},
    {"continued-lines.conf", {.root = ""}},
    {"crlf.conf", {{"example.com\r"}, 32, 1, "", "", false, false, false}},
    {"empty.conf", Nothing},
    {"ipv6.conf", {.sites = {"example.com", "six.example"}, .address = "2001:db8::5"}},
    {"line-of-1022-characters.conf", {}},
    {"line-of-1023-characters.conf", {}},
    {"line-of-119-characters-in-a-block.conf", {}},
    {"name-behind-other-directives.conf", {.root = "/var/www/second", .hasAlias = false}},
    {"name-that-begins-with-another.conf",
     {.sites = {"example.com.au", "example.comics.example", "www.example.com", "example.com"}}},
    {"nested-sections.conf", {}},
    {"no-newline-at-end.conf", {}},
    {"odd-case-tags.conf", {.sites = {"Example.COM"}, .address = "", .switchable = false}},
    {"only-comments.conf", Nothing},
    {"several-blocks-of-one-site.conf", {.sites = {"example.com", "other.example", "example.com"}}},
    {"tabs-and-trailing-blanks.conf",
     {.status = 1, .switchable = false, .deletable = false, .hasAlias = false}},
};

class OnCollected : public ::testing::Test {
protected:
    // Calls `examine` with a fresh copy of every configuration.
    template <class Examine>
    void onEach(Examine examine) {
        const CapturedOutput output;
        StringVector seen;
        for (const auto& [name, found] : Collection) {
            SCOPED_TRACE(name);
            const std::string before = collected(name);
            file_ = scratch(name);
            writeFile(file_, before);
            CZPWebsite website(nullptr, file_.c_str());
            examine(website, found, before);
            seen.push_back(name);
        }
        EXPECT_EQ(seen, collection());
    }

    std::string file_;
};

}  // namespace

TEST_F(OnCollected, SitesAreFound) {
    onEach([&](CZPWebsite& website, const Found& found, const std::string& before) {
        StringVector sites;
        std::string address;
        EXPECT_EQ(website.ListWebsites(sites), 28);
        EXPECT_EQ(sites, found.sites);
        EXPECT_EQ(website.WebsiteExists("example.com"), found.exists);
        EXPECT_EQ(website.GetWebsiteStatus("example.com"), found.status);
        EXPECT_EQ(website.GetRootDocPath(file_, "example.com"), found.root);
        EXPECT_EQ(website.LookupDomainInConfFile("example.com", file_, address), !found.address.empty());
        EXPECT_EQ(address, found.address);
        EXPECT_EQ(readFile(file_), before);
    });
}

TEST_F(OnCollected, ASiteIsStoppedAndStarted) {
    onEach([&](CZPWebsite& website, const Found& found, const std::string& before) {
        std::string after =
            withoutEmptyLines(before.ends_with('\n') || before.empty() ? before : before + '\n');
        after = found.lost.empty() ? after : without(after, found.lost);
        EXPECT_EQ(website.StopWebsite("absent.example"), 30);
        EXPECT_EQ(website.StartWebsite("absent.example"), 29);
        EXPECT_EQ(readFile(file_), before);
        EXPECT_EQ(website.StopWebsite("example.com"), 30);
        EXPECT_EQ(website.GetWebsiteStatus("example.com"), found.switchable ? 33 : found.status);
        EXPECT_EQ(readFile(file_) != before, found.switchable);
        EXPECT_EQ(website.StartWebsite("example.com"), 29);
        EXPECT_EQ(readFile(file_), found.switchable ? after : before);
        EXPECT_EQ(website.GetWebsiteStatus("example.com"), found.status);
    });
}

TEST_F(OnCollected, ASiteIsGivenAndDeniedAName) {
    onEach([&](CZPWebsite& website, const Found& found, const std::string& before) {
        EXPECT_EQ(website.AddHostHeader("example.com", "new.example"), found.hasAlias ? 0 : 1);
        EXPECT_EQ(
            readFile(file_).find("ServerAlias www.example.com new.example\n") != std::string::npos ||
                readFile(file_).find("ServerAlias www.example.com \\ new.example\n") != std::string::npos,
            found.hasAlias);
        EXPECT_EQ(website.DeleteHostHeader("example.com", "new.example"), found.hasAlias ? 0 : 1);
        if (!found.hasAlias) {
            EXPECT_EQ(readFile(file_), before);
        }
    });
}

TEST_F(OnCollected, ASiteIsDeleted) {
    onEach([&](CZPWebsite& website, const Found& found, const std::string&) {
        StringVector kept = found.sites;
        std::erase_if(kept, [&](const std::string& site) {
            return (found.deletable && (site == "example.com" || site == "Example.COM")) ||
                   found.lost.find(site) != std::string::npos;
        });
        for (int time = 0; time < 2; ++time) {
            StringVector sites;
            EXPECT_EQ(website.DeleteWebsite("example.com", 0), 24);
            EXPECT_EQ(website.ListWebsites(sites), 28);
            EXPECT_EQ(sites, kept);
        }
    });
}
