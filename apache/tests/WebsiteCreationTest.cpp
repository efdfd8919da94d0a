// Creation of a website: its block, its folders, what is said and run on the way.
#include <CZPWebsite.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <iostream>

#include "support/FakeTools.h"
#include "support/FileCase.h"
#include "support/Files.h"
#include "support/Sites.h"
#include "support/Text.h"
#include "support/Transcript.h"

using namespace zp::test;
namespace fs = std::filesystem;

namespace {

constexpr const char* ProductConfiguration = "/etc/ZeplarPanel.conf";

int create(const std::string& file, const Site& site, char ipSwitch) {
    fs::create_directories(site.parent + site.domain);
    VHostEntry request = requestFor(site, ipSwitch);
    return CZPWebsite(nullptr, file.c_str()).CreateWebsite(&request);
}

// Leaves one line of a block that was written as website creation does.
void foldBlock(const std::string& file, const Site& site) {
    const std::string block = blockOf(site), rest = block.substr(block.find("\tServerName"));
    std::string text = readFile(file);
    if (const size_t at = text.find(rest); at != std::string::npos) {
        writeFile(file, text.replace(at, rest.size(), "\t(block of " + site.domain + ")\n"));
    }
}

// The operation of a case: the site is created on a host with this product configuration.
auto creating(const Site& site, char ipSwitch, const std::string& product = "") {
    return [=](const std::string& file) {
        addSiteAccounts();
        if (!product.empty()) {
            writeFile(ProductConfiguration, product);
        }
        const int result = create(file, site, ipSwitch);
        foldBlock(file, site);
        std::cout << (fs::exists(site.parent + site.domain + "/special") ? "" : "no folders\n");
        return result;
    };
}
// One after the other, in one process.
auto creatingAll(std::vector<std::pair<Site, char>> sites) {
    return [=](const std::string& file) {
        int result = 0;
        for (const auto& [site, ipSwitch] : sites) {
            result = creating(site, ipSwitch)(file);
        }
        return result;
    };
}

Site at(const std::string& address) { return {.address = address}; }
std::string blockAt(const std::string& address) { return blockOf({.address = address}); }

const Site Four = at("10.0.0.5"), Six = at("2001:db8::5");
const std::string Four80 = blockAt("10.0.0.5:80"), FourBare = blockAt("10.0.0.5"),
                  SixBare = blockAt("[2001:db8::5]"), Six80 = blockAt("[2001:db8::5]:80");
const Site first = {.domain = "a.example", .address = "10.0.0.1"},
           second = {.domain = "b.example", .address = "10.0.0.2"},
           third = {.domain = "c.example", .address = "10.0.0.3"};
const std::string ListOfSites = "# first\n#\nListen 80\n# second\n # third\n\n" +
                                blockOf({.domain = "other.example", .address = "10.0.0.6"}) + "\t \n";
const std::string Own =
    "<VirtualHost 10.0.0.5:80>\n\tServerName 10.0.0.5\n\tDocumentRoot \"/var/www\"\n</VirtualHost>\n";
const char* const Port8080 = "WebServerPort=\"8080\"\n";

// In name-based mode, after a NameVirtualHost line that is there.
FileCase announced(const char* name, const Site& site, const std::string& value) {
    return {name, "NameVirtualHost" + value + "\n", creating(site, '1')};
}

const FileCase Appended[] = {
    {"mode0_keeps_leading_comments", ListOfSites, creating(Four, '0')},
    {"mode0_ipv6", "", creating(Six, '0')},
    {"mode0_announced_with_port", "NameVirtualHost 10.0.0.5:*\n", creating(Four, '0')},
    {"mode1_drops_leading_comments", ListOfSites, creating(Four, '1')},
    {"mode1_ipv6", "Listen 80", creating(Six, '1')},
    {"mode1_other_port", "", creating(Four, '1', Port8080)},
    {"mode1_announced_with_other_port", "NameVirtualHost 10.0.0.5:80\nNameVirtualHost 10.0.0.5:8080\n",
     creating(Four, '1', Port8080)},
    {"other_mode_writes_nothing_but_makes_the_folders", ListOfSites, creating(Four, '3')},
    announced("announced", Four, " 10.0.0.5"),
    announced("announced_with_port", Four, "\t 10.0.0.5:80 \t"),
    announced("announced_for_every_port", Four, " 10.0.0.5:*"),
    announced("announced_for_another_port", Four, " 10.0.0.5:81"),
    announced("announced_in_brackets_only", Four, " [10.0.0.5]"),
    announced("announced_ipv6", Six, " [2001:DB8::5]:80"),
    announced("announced_ipv6_for_every_port", Six, " [2001:db8::5]:*"),
    announced("announced_ipv6_without_port", Six, " [2001:db8::5]"),
    announced("announced_ipv6_without_brackets", Six, " 2001:db8::5"),
    announced("announced_for_nothing", Six, ""),
};

const FileCase Replaced[] = {
    {"mode2_takes_the_place_of_the_address", "# lost\nListen 80\n" + Own + "Listen 81\n",
     creating(Four, '2')},
    {"mode2_announced", "NameVirtualHost 10.0.0.5\n" + Own, creating(Four, '2')},
    {"mode2_only_the_first_block", Own + Own, creating(Four, '2')},
    {"mode2_also_a_longer_address", with(Own, "10.0.0.5:80", "10.0.0.55"), creating(Four, '2')},
    {"mode2_block_of_a_name", with(Own, "ServerName 10.0.0.5", "ServerName other.example"),
     creating(Four, '2')},
    {"mode2_block_without_a_name_vanishes_only_from_the_copy",
     "<VirtualHost 10.0.0.5>\nX\n</VirtualHost>\nY\n", creating(Four, '2')},
    {"mode2_end_tag_must_begin_the_line", with(Own, "</VirtualHost>", "\t</VirtualHost>") + "Listen 81\n",
     creating(Four, '2')},
    {"mode2_in_any_letter_case",
     "NAMEvirtualhost 10.0.0.5\n <VIRTUALhost 10.0.0.5>\nserverNAME 10.0.0.5\n</virtualHOST>\nListen 81\n",
     creating(Four, '2')},
    {"mode2_announced_with_port", "NameVirtualHost 10.0.0.5:80\n" + Own, creating(Four, '2')},
    {"mode2_other_port", Own, creating(Four, '2', Port8080)},
    {"mode2_no_block_of_the_address", ListOfSites, creating(Four, '2')},
    {"mode2_ipv6_blocks_are_in_brackets", with(Own, "10.0.0.5:80", "[2001:db8::5]:80"), creating(Six, '2')},
};

// Once a site has needed the port, every later IPv4 block has it.
const FileCase Successive[] = {
    {"port_for_the_first_name_based_one_and_all_behind", "",
     creatingAll({{first, '0'}, {second, '1'}, {third, '0'}, {Six, '0'}})},
    {"port_behind_an_ipv6_address_too", "", creatingAll({{Six, '1'}, {first, '0'}})},
    {"port_behind_one_that_was_met_in_mode0", "NameVirtualHost 10.0.0.1:*\n",
     creatingAll({{first, '0'}, {second, '0'}})},
};

const FileCase Refused[] = {
    {"exists_in_mode1", "ServerName example.com\n", creating(Four, '1')},
    {"exists", "ServerName EXAMPLE.com\n", creating(Four, '0')},
    {"exists_behind_the_replaced_block", Own + " ServerName example.com", creating(Four, '2')},
    {"exists_not_with_trailing_blank", "ServerName example.com \n", creating(Four, '0')},
    {"exists_as_a_comment_only", "Listen 80\n#ServerName example.com\n", creating(Four, '0')},
    {"exists_by_its_ascii_name", "ServerName xn--bcher-kva.example\n",
     creating({.domain = "Bücher.example", .asciiDomain = "xn--bcher-kva.example"}, '0')},
    {"name_beyond_ascii", "",
     creating({.domain = "Bücher.example", .asciiDomain = "xn--bcher-kva.example"}, '0')},
    {"ascii_name_in_other_case", "",
     creating({.domain = "Example.com", .asciiDomain = "example.com"}, '0')},
};

// On a CloudLinux host.
FileCase limited(const char* name, const std::string& product, const std::string& before) {
    return {name, before, [=](const std::string& file) {
                writeFile("/etc/CloudLinux-release", "");
                return creating(Four, '0', product)(file);
            }};
}

const std::string Dso = "PHPHandler=\"dso\"\n", Fcgid = "PHPHandler=\"fcgid\"\n";
const FileCase Limited[] = {
    limited("limits_next_id", Dso, "LVEId 1004\n"),
    limited("limits_first_id", Dso, "Listen 80\n"),
    limited("limits_no_readable_id", Dso, "LVEId\t1004\n"),
    limited("limits_fcgid_without_suexec", Fcgid + "SUexecSetting=\"disabled\"\n", "LVEId 1\n"),
    limited("limits_fcgid_with_suexec", Fcgid + "SUexecSetting=\"Disabled\"\n", "LVEId 1\n"),
    limited("limits_other_handler", "PHPHandler=\"DSO\"\nSUexecSetting=\"disabled\"\n", "LVEId 1\n"),
    {"limits_other_host", "LVEId 1\n", creating(Four, '0', Dso)},
};

std::string folderList(const std::string& home) {
    std::string list;
    for (const char* folder :
         {"/www", "/www/html", "/www/cgi-bin", "/log", "/log/httpd", "/db", "/special"}) {
        list += std::string(folder) + " " + mode(home + folder) + " " + owner(home + folder) + "\n";
    }
    return list;
}

}  // namespace

class WebsiteCreation : public ::testing::TestWithParam<FileCase> {};
TEST_P(WebsiteCreation, WritesExactlyThis) { check(GetParam()); }

INSTANTIATE_TEST_SUITE_P(Appended, WebsiteCreation, ::testing::ValuesIn(Appended), byName);
INSTANTIATE_TEST_SUITE_P(Replaced, WebsiteCreation, ::testing::ValuesIn(Replaced), byName);
INSTANTIATE_TEST_SUITE_P(Successive, WebsiteCreation, ::testing::ValuesIn(Successive), byName);
INSTANTIATE_TEST_SUITE_P(Refused, WebsiteCreation, ::testing::ValuesIn(Refused), byName);
INSTANTIATE_TEST_SUITE_P(Limited, WebsiteCreation, ::testing::ValuesIn(Limited), byName);

TEST(WebsiteCreation, MakesTheFoldersAndRunsExactlyTheseCommands) {
    addSiteAccounts();
    const FakeTools tools;
    for (const char* program : {"mv", "cp", "chmod", "chown"}) {
        tools.watch(program);
    }
    const std::string file = scratch("conf/httpd.conf");
    for (const Site& site :
         {Site{.parent = scratch("it's; touch pwned #/"), .administrator = "a;touch pwned"},
          Site{.parent = scratch("homes/")}}) {
        SCOPED_TRACE(site.parent);
        const bool plain = site.administrator == "siteadmin";
        const std::string home = site.parent + "example.com";
        writeFile(file, "Listen 80\n");
        ::umask(077);
        EXPECT_EQ(create(file, site, '0'), 94);
        ::umask(022);
        EXPECT_EQ(readFile(file), "Listen 80\n\n" + blockOf(site));
        EXPECT_EQ(namesIn(scratch("conf")), StringVector{"httpd.conf"});
        EXPECT_FALSE(fs::exists("pwned"));
        const auto calls = tools.calls();  // owners and modes take no command
        EXPECT_EQ(calls.size(), plain ? 2U : 1U);
        const std::string move = calls.back();
        EXPECT_EQ(with(move, scratch("conf/"), "").find_first_not_of("0123456789", 3), 13U) << move;
        EXPECT_TRUE(move.ends_with(" " + file));
        const std::string logs = plain ? " 0505 2003:2005" : " 0505 0:0";  // an unknown administrator
        EXPECT_EQ(
            folderList(home),
            lines({"/www 4701 2001:2002", "/www/html 4701 2001:2002", "/www/cgi-bin 4701 2001:2002",
                   "/log" + logs, "/log/httpd" + logs, "/db 4707 2001:2002", "/special 4705 2001:2002"}));
    }
}

TEST(WebsiteCreation, LetsNobodyElseReadAnUnfinishedCopy) {
    const std::string file = scratch("conf/httpd.conf");
    writeFile(file, "ServerName example.com\n");
    ::umask(0);
    EXPECT_EQ(create(file, {}, '0'), 92);
    for (const std::string& name : namesIn(scratch("conf"))) {
        EXPECT_EQ(mode(scratch("conf/" + name)), name == "httpd.conf" ? "0644" : "0600") << name;
    }
    EXPECT_EQ(namesIn(scratch("conf")).size(), 2U);
}

TEST(WebsiteCreation, EndsAtTheFirstFolderThatCannotBeMade) {
    addSiteAccounts();
    const std::string file = scratch("conf/httpd.conf");
    const char* folders[] = {"www", "www/html", "www/cgi-bin", "log", "log/httpd", "db", "special"};
    const std::string home = "/var/www/example.com/";
    for (const auto& [ipSwitch, after] :
         {std::pair('1', Own), std::pair('2', "\nNameVirtualHost10.0.0.5:80\n" + Four80 + "\n")}) {
        for (const size_t taken : {0U, 3U, 5U, 6U}) {  // something stands in the place of this one
            fs::remove_all(home);
            writeFile(home + folders[taken], "");
            writeFile(file, Own);
            EXPECT_EQ(create(file, Four, ipSwitch), 2) << folders[taken];
            EXPECT_EQ(readFile(file), after);
            for (size_t i = 0; i < std::size(folders); ++i) {
                EXPECT_EQ(fs::is_directory(home + folders[i]), i < taken) << folders[i];
            }
        }
    }
    // No home, or nobody to own it: nothing is made.
    fs::remove_all(home);
    writeFile(file, Own);
    VHostEntry request = requestFor(Four, '1');
    EXPECT_EQ(CZPWebsite(nullptr, file.c_str()).CreateWebsite(&request), 2);
    fs::create_directories(home);
    request = requestFor(Four, '1', "nobody-here");
    EXPECT_EQ(CZPWebsite(nullptr, file.c_str()).CreateWebsite(&request), 2);
    EXPECT_EQ(namesIn(home), StringVector{});
}

TEST(PanelPort, BlockIsWrittenUnlessItIsThere) {
    const std::string sites =
        lines({"#DocumentRoot \"/no\"", "", " DocumentRoot \"/usr/panel/www\"", "DocumentRoot \"/second\"",
               "\tScriptAlias /cgi-bin/ \"/usr/panel/cgi-bin/\"", "ScriptAlias /second/ \"/x\"",
               "#<VirtualHost 10.0.0.5:8077>"});
    const std::string file = scratch("httpd.conf");
    std::string told;
    for (const std::string& text :
         {sites, sites + "  <virtualhost 1.2.3.4:80 10.0.0.5:8077>\n", std::string(),
          std::string(1022, 'x') + "\n" + sites, std::string(1023, 'x') + "\n" + sites}) {
        writeFile(file, text);
        std::ofstream out(scratch("out"));
        EXPECT_EQ(CZPWebsite(nullptr, file.c_str()).AddWebsitePort(out, "10.0.0.5"), 0);
        out.close();
        told += "\nwritten:" + readFile(scratch("out"));
    }
    expectTold("as it is, there, empty, 1022 and 1023 characters before", told + "\n");
}

class HostingLimits : public ::testing::TestWithParam<FileCase> {};
TEST_P(HostingLimits, BlockFollowsTheFirstModuleLine) { check(GetParam()); }

namespace {

int enableLimits(const std::string& file) {
    return CZPWebsite(nullptr, file.c_str()).EnableHostingLimits();
}
const std::string Load = "#LoadModule hostinglimits_module modules/mod_hostinglimits.so\n";
const FileCase Limits[] = {
    {"first", "A\n\n" + Load + "B\n" + Load, enableLimits},
    {"again", Load, twice(enableLimits)},
    {"none", "loadmodule hostinglimits\n\nLoadModule php", enableLimits},
};

}  // namespace
INSTANTIATE_TEST_SUITE_P(Block, HostingLimits, ::testing::ValuesIn(Limits), byName);
