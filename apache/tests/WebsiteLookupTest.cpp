// Whether a site exists, where it is, and which sites there are.
#include <CZPWebsite.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "support/Files.h"
#include "support/Told.h"
#include "support/Watching.h"

using namespace zp::test;
namespace fs = std::filesystem;

namespace {

const std::string Sites = collected("samples/sites-to-look-up.conf");
const StringVector Names = {"first.example", "lower.example", "six.example", "blank.example ",
                            "wide.example"};

// Every answer of ListWebsites and what it prints.
struct Listing {
    StringVector sites;
    std::string printed;
};
Listing list(const std::string& file) {
    const CapturedOutput output;
    Listing listing;
    EXPECT_EQ(CZPWebsite(nullptr, file.c_str()).ListWebsites(listing.sites), 28);
    listing.printed = output.text();
    return listing;
}

std::string site(const std::string& name) {
    return "<VirtualHost *:80>\n\tServerName " + name + "\n</VirtualHost>\n";
}

}  // namespace

TEST(WebsiteLookup, AnswersByTheNameOfABlock) {
    const std::string file = scratch("httpd.conf");
    writeFile(file, Sites);
    CZPWebsite website(nullptr, file.c_str());
    std::string told;
    for (const std::string domain :
         {"FIRST.example", "second.example", "lower.example", "six.example", "behind.example",
          "blank.example", "blank.example ", "commented.example", "later.example", "outside.example",
          "wide.example", "wide.exampl", "server.example", ""}) {
        std::string address;
        const bool found = website.LookupDomainInConfFile(domain, file, address);
        EXPECT_EQ(found, !address.empty()) << domain;
        told += domain + ": " + std::to_string(website.WebsiteExists(domain.c_str())) + " " + address +
                " " + website.GetRootDocPath(file, domain) + "\n";
    }
    expectTold(told, R"(FIRST.example: 31 10.0.0.5 /var/www/first
second.example: 32 10.0.0.5 
lower.example: 31  /var/www/lower
six.example: 31 2001:db8::1 
behind.example: 32 2001:db8::1 
blank.example: 32  
blank.example : 31 10.0.0.7 
commented.example: 32  
later.example: 32 * 
outside.example: 32  
wide.example: 31 10.0.0.9 
wide.exampl: 32  
server.example: 32  
: 32  )");
    EXPECT_EQ(list(file).sites, Names);
}

TEST(WebsiteLookup, BoundsOfALine) {
    const std::string file = scratch("httpd.conf");
    for (const size_t length : {1022U, 1023U}) {
        writeFile(file, "#" + std::string(length - 1, 'x') +
                            "\n<VirtualHost 10.0.0.5>\nServerName example.com\n" + "DocumentRoot \"/x\"\n");
        CZPWebsite website(nullptr, file.c_str());
        const bool seen = length == 1022;
        EXPECT_EQ(website.WebsiteExists("example.com"), seen ? 31 : 32);
        EXPECT_EQ(website.GetRootDocPath(file, "example.com"), seen ? "/x" : "");
        EXPECT_EQ(list(file).sites.size(), seen ? 1U : 0U);
        StringVector names;
        EXPECT_TRUE(website.VHostsInIncFile(file, names));
        EXPECT_EQ(names.size(), seen ? 1U : 0U);
        std::string address;
        EXPECT_TRUE(website.LookupDomainInConfFile("example.com", file, address)) << "it has no bound";
    }
}

TEST(WebsiteListing, FollowsTheFilesThatAreNamedOutright) {
    const std::string root = scratch("root");
    const std::string file = root + "/httpd.conf";
    writeFile(root + "/conf.d/one.conf", site("one.example") + "Include deeper.conf\n");
    writeFile(root + "/two.conf", site("two.example"));
    writeFile(
        file,
        "Include two.conf\n" + site("main.example") +
            "Include  conf.d\n\tinclude conf.d/one.conf\nServerRoot \"" + root +
            "\"\n<VirtualHost *>\nInclude two.conf\nServerName late.example\nInclude " + root +
            "/two.conf\n</VirtualHost>\nInclude conf.d/*.conf\nIncludeOptional x\nInclude httpd.conf\n");
    const Listing listing = list(file);
    EXPECT_EQ(listing.sites, (StringVector{"main.example", "late.example", "two.example", "one.example",
                                           "two.example", "main.example", "late.example"}));
    EXPECT_EQ(listing.printed, "server root = " + root +
                                   "\nDir = conf.d\nFile not found = conf.d/*.conf\n"
                                   "File not found = Optional x\n");
}

TEST(WebsiteListing, TakesTheUsualServerRootWhereNoneIsNamed) {
    const std::string file = scratch("httpd.conf");
    const std::string absolute = scratch("absolute.conf");
    writeFile(absolute, site("absolute.example"));
    writeFile(file, site("main.example") + "Include extra.conf\nInclude " + absolute + "\n");
    for (const std::string root : {"/etc/httpd", "/etc/apache2"}) {
        writeFile(root + "/extra.conf", site(root));
        const Listing listing = list(file);
        EXPECT_EQ(listing.sites, (StringVector{"main.example", root, "absolute.example"}));
        EXPECT_EQ(listing.printed, "server root = \ncp\n");
        EXPECT_EQ(fs::current_path(), root);
        fs::current_path("/");
        fs::remove_all(root);
    }
    EXPECT_EQ(list(file).sites, StringVector{"main.example"});
}

TEST(WebsiteListing, OfTenThousandSitesInAHundredFiles) {
    std::string main = "ServerRoot " + scratch() + "\n";
    StringVector expected;
    StringVector included;
    for (int number = 0; number < 100; ++number) {
        const std::string name = "sites/" + std::to_string(number) + ".conf";
        std::string text;
        for (int index = 0; index < 90; ++index) {
            included.push_back(std::to_string(index) + ".of" + std::to_string(number) + ".example");
            text += site(included.back());
        }
        writeFile(scratch(name), text);
        main += "Include " + name + "\n";
        for (int index = 0; index < 10; ++index) {
            expected.push_back(std::to_string(index) + ".main" + std::to_string(number) + ".example");
            main += site(expected.back());
        }
    }
    writeFile(scratch("httpd.conf"), main);
    expected.insert(expected.end(), included.begin(), included.end());
    EXPECT_EQ(expected.size(), 10'000U);
    EXPECT_EQ(list(scratch("httpd.conf")).sites, expected);
}
