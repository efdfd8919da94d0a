// Creation of a website: its block, its folders, what is said and run on the way.
#include <CZPWebsite.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>

#include "support/FakeTools.h"
#include "support/FileCase.h"
#include "support/Files.h"
#include "support/Sandbox.h"
#include "support/Sites.h"
#include "support/Text.h"
#include "support/Watching.h"

using namespace zp::test;
namespace fs = std::filesystem;

namespace {

constexpr const char* ProductConfiguration = "/etc/ZeplarPanel.conf";

int create(const std::string& file, const Site& site, char ipSwitch) {
    fs::create_directories(site.parent + site.domain);
    VHostEntry request = requestFor(site, ipSwitch);
    return CZPWebsite(nullptr, file.c_str()).CreateWebsite(&request);
}

// The operation of a case: the site is created on a host with this product configuration.
auto creating(const Site& site, char ipSwitch, const std::string& product = "") {
    return [=](const std::string& file) {
        addSiteAccounts();
        if (!product.empty()) {
            writeFile(ProductConfiguration, product);
        }
        return create(file, site, ipSwitch);
    };
}

Site at(const std::string& address) { return {.address = address}; }
std::string blockAt(const std::string& address) { return blockOf({.address = address}); }

const Site Four = at("10.0.0.5"), Six = at("2001:db8::5");
const std::string Four80 = blockAt("10.0.0.5:80"), FourBare = blockAt("10.0.0.5"),
                  SixBare = blockAt("[2001:db8::5]"), Six80 = blockAt("[2001:db8::5]:80");
const std::string ListOfSites = "# first\n#\nListen 80\n# second\n # third\n\n" +
                                blockOf({.domain = "other.example", .address = "10.0.0.6"}) + "\t \n";
const std::string CopiedInOtherModes = without(ListOfSites, "# first\n#\n");
const std::string Own =
    "<VirtualHost 10.0.0.5:80>\n\tServerName 10.0.0.5\n\tDocumentRoot \"/var/www\"\n</VirtualHost>\n";
const char *Asked4 = "Requested IP is IPV4\n", *Asked6 = "Requested IP is IPV6\n",
           *Picked6 = "Picked IP is IPV6\n";

// A NameVirtualHost line that is there: does it announce the address?
FileCase announcing(const std::string& name, const Site& site, const std::string& value, bool announces,
                    const std::string& blockAddress, const std::string& printed) {
    const std::string line = "NameVirtualHost" + value + "\n";
    const std::string added = announces ? "" : "\nNameVirtualHost " + blockAddress + "\n";
    return {name, line, creating(site, '1'), 94, line + "\n" + added + blockAt(blockAddress), printed};
}

const FileCase Appended[] = {
    {"mode0_keeps_leading_comments", ListOfSites, creating(Four, '0'), 94, ListOfSites + "\n" + FourBare},
    {"mode0_ipv6", "", creating(Six, '0'), 94, "\n" + SixBare},
    {"mode1_drops_leading_comments", ListOfSites, creating(Four, '1'), 94,
     CopiedInOtherModes + "\n\nNameVirtualHost 10.0.0.5:80\n" + Four80},
    {"mode1_ipv6", "Listen 80", creating(Six, '1'), 94,
     "Listen 80\n\nNameVirtualHost [2001:db8::5]:80\n" + Six80},
    {"mode1_other_port", "", creating(Four, '1', "WebServerPort=\"8080\"\n"), 94,
     "\n\nNameVirtualHost 10.0.0.5:8080\n" + blockAt("10.0.0.5:8080")},
    {"other_mode_writes_nothing", ListOfSites, creating(Four, '3'), 94},

    announcing("announced", Four, " 10.0.0.5", true, "10.0.0.5",
               std::string(Asked4) + "IPV4 NameVirtualHost found without port\n"),
    announcing("announced_with_port", Four, "\t 10.0.0.5:80 \t", true, "10.0.0.5:80",
               std::string(Asked4) + "IPV4 NameVirtualHost found with port\n"),
    announcing("announced_for_every_port", Four, " 10.0.0.5:*", true, "10.0.0.5:80",
               std::string(Asked4) + "IPV4 NameVirtualHost found with port\n"),
    announcing("announced_for_another_port", Four, " 10.0.0.5:81", false, "10.0.0.5:80", Asked4),
    announcing("announced_in_brackets_only", Four, " [10.0.0.5]", false, "10.0.0.5:80", Asked4),
    announcing("announced_ipv6", Six, " [2001:DB8::5]:80", true, "[2001:db8::5]:80",
               std::string(Asked6) + Picked6 + "IPV6 NameVirtualHost found\n"),
    announcing("announced_ipv6_for_every_port", Six, " [2001:db8::5]:*", true, "[2001:db8::5]:80",
               std::string(Asked6) + Picked6 + "IPV6 NameVirtualHost found\n"),
    announcing("announced_ipv6_without_port", Six, " [2001:db8::5]", false, "[2001:db8::5]:80",
               std::string(Asked6) + Picked6),
    announcing("announced_ipv6_without_brackets", Six, " 2001:db8::5", false, "[2001:db8::5]:80", Asked6),
    announcing("announced_for_nothing", Six, "", false, "[2001:db8::5]:80", Asked6),
};

const FileCase Replaced[] = {
    {"mode2_takes_the_place_of_the_address", "# lost\nListen 80\n" + Own + "Listen 81\n",
     creating(Four, '2'), 94, "Listen 80\n\nNameVirtualHost10.0.0.5:80\n" + Four80 + "Listen 81\n\n"},
    {"mode2_announced", "NameVirtualHost 10.0.0.5\n" + Own, creating(Four, '2'), 94,
     "NameVirtualHost 10.0.0.5\n" + FourBare + "\n",
     std::string(Asked4) + "IPV4 NameVirtualHost found without port\n"},
    {"mode2_only_the_first_block", Own + Own, creating(Four, '2'), 94,
     "\nNameVirtualHost10.0.0.5:80\n" + Four80 + Own + "\n"},
    {"mode2_also_a_longer_address", with(Own, "10.0.0.5:80", "10.0.0.55"), creating(Four, '2'), 94,
     "\nNameVirtualHost10.0.0.5:80\n" + Four80 + "\n"},
    {"mode2_block_of_a_name",
     with(Own, "ServerName 10.0.0.5", "ServerName other.example"),
     creating(Four, '2'),
     92,
     {},
     "",
     {"#"}},
    {"mode2_block_without_a_name_vanishes_only_from_the_copy",
     "<VirtualHost 10.0.0.5>\nX\n</VirtualHost>\nY\n", creating(Four, '2'), 94},
    {"mode2_end_tag_must_begin_the_line", with(Own, "</VirtualHost>", "\t</VirtualHost>") + "Listen 81\n",
     creating(Four, '2'), 94, "\nNameVirtualHost10.0.0.5:80\n" + Four80},
    {"mode2_no_block_of_the_address", ListOfSites, creating(Four, '2'), 94},
    {"mode2_ipv6_blocks_are_in_brackets", with(Own, "10.0.0.5:80", "[2001:db8::5]:80"), creating(Six, '2'),
     94},
};

const FileCase Refused[] = {
    {"exists", "ServerName EXAMPLE.com\n", creating(Four, '0'), 92, {}, "", {"#"}},
    {"exists_behind_the_replaced_block",
     Own + " ServerName example.com",
     creating(Four, '2'),
     92,
     {},
     "",
     {"#"}},
    {"exists_not_with_trailing_blank", "ServerName example.com \n", creating(Four, '0'), 94,
     "ServerName example.com \n\n" + FourBare},
    {"exists_as_a_comment_only", "Listen 80\n#ServerName example.com\n", creating(Four, '0'), 94,
     "Listen 80\n#ServerName example.com\n\n" + FourBare},
    {"exists_by_its_ascii_name",
     "ServerName xn--bcher-kva.example\n",
     creating({.domain = "Bücher.example", .asciiDomain = "xn--bcher-kva.example"}, '0'),
     92,
     {},
     "",
     {"#"}},
    {"name_beyond_ascii", "",
     creating({.domain = "Bücher.example", .asciiDomain = "xn--bcher-kva.example"}, '0'), 94,
     "\n" + blockOf({.domain = "Bücher.example", .asciiDomain = "xn--bcher-kva.example"})},
    {"ascii_name_in_other_case", "", creating({.domain = "Example.com", .asciiDomain = "example.com"}, '0'),
     94, "\n" + blockOf({.domain = "Example.com", .asciiDomain = "example.com"})},
};

std::string limitedBlock(const std::string& id) {
    return with(FourBare, "\t\tAllowOverride All\n", id + "\t\tAllowOverride All\n");
}

// On a CloudLinux host.
FileCase limited(const std::string& name, const std::string& product, const std::string& before,
                 const std::string& id) {
    const auto operation = creating(Four, '0', product);
    return {name, before,
            [=](const std::string& file) {
                writeFile("/etc/CloudLinux-release", "");
                return operation(file);
            },
            94, before + "\n" + limitedBlock(id)};
}

const FileCase Limited[] = {
    limited("limits_next_id", "PHPHandler=\"dso\"\n", "LVEId 1004\n", "\t\tLVEId 1005\n"),
    limited("limits_first_id", "PHPHandler=\"dso\"\n", "Listen 80\n", "\t\tLVEId 1001\n"),
    limited("limits_no_readable_id", "PHPHandler=\"dso\"\n", "LVEId\t1004\n", ""),
    limited("limits_fcgid_without_suexec", "PHPHandler=\"fcgid\"\nSUexecSetting=\"disabled\"\n",
            "LVEId 1\n", "\t\tLVEId 2\n"),
    limited("limits_fcgid_with_suexec", "PHPHandler=\"fcgid\"\nSUexecSetting=\"Disabled\"\n", "LVEId 1\n",
            ""),
    limited("limits_other_handler", "PHPHandler=\"DSO\"\nSUexecSetting=\"disabled\"\n", "LVEId 1\n", ""),
    {"limits_other_host", "LVEId 1\n", creating(Four, '0', "PHPHandler=\"dso\"\n"), 94,
     "LVEId 1\n\n" + FourBare},
};

std::string folderList(const std::string& home) {
    std::string list;
    for (const char* folder :
         {"", "/www", "/www/html", "/www/cgi-bin", "/log", "/log/httpd", "/db", "/special"}) {
        list += std::string(folder) + " " + mode(home + folder) + " " + owner(home + folder) + "\n";
    }
    return list;
}

}  // namespace

class WebsiteCreation : public ::testing::TestWithParam<FileCase> {};
TEST_P(WebsiteCreation, WritesExactlyThis) { check(GetParam()); }

INSTANTIATE_TEST_SUITE_P(Appended, WebsiteCreation, ::testing::ValuesIn(Appended), byName);
INSTANTIATE_TEST_SUITE_P(Replaced, WebsiteCreation, ::testing::ValuesIn(Replaced), byName);
INSTANTIATE_TEST_SUITE_P(Refused, WebsiteCreation, ::testing::ValuesIn(Refused), byName);
INSTANTIATE_TEST_SUITE_P(Limited, WebsiteCreation, ::testing::ValuesIn(Limited), byName);

TEST(WebsiteCreationOn, EveryCollectedConfigurationOnlyAppends) {
    addSiteAccounts();
    const CapturedOutput output;
    auto names = collection();
    names.emplace_back("debian");
    for (const std::string& name : names) {
        const std::string before =
            name == "debian" ? readFile("/etc/apache2/apache2.conf") : collected(name);
        ASSERT_NE(before, NoFile);
        const std::string file = scratch(name);
        writeFile(file, before);
        ASSERT_EQ(create(file, {.domain = "new.example", .address = "::9"}, '0'), 94) << name;
        fs::remove_all("/var/www/new.example");
        const std::string kept =
            name == "line-of-1023-characters.conf" ? before.substr(0, before.find("# xxx")) : before + "\n";
        EXPECT_EQ(readFile(file), kept + blockOf({.domain = "new.example", .address = "[::9]"})) << name;

        const bool free =
            name == "crlf.conf" || name == "empty.conf" || name == "only-comments.conf" || name == "debian";
        EXPECT_EQ(create(file, {}, '0'), free ? 94 : 92) << name;
        fs::remove_all("/var/www/example.com");
    }
}

TEST(WebsiteCreation, OnceAPortWasNeededEveryLaterIPv4BlockHasIt) {
    addSiteAccounts();
    const std::string file = scratch("httpd.conf");
    const std::pair<Site, char> sites[] = {
        {{.domain = "a.example", .address = "10.0.0.1"}, '0'},
        {{.domain = "b.example", .address = "10.0.0.2"}, '1'},
        {{.domain = "c.example", .address = "10.0.0.3"}, '0'},
        {{.domain = "d.example", .address = "::4"}, '0'},
    };
    writeFile(file, "");
    std::string expected;
    const char* written[] = {"10.0.0.1", "10.0.0.2:80", "10.0.0.3:80", "[::4]"};
    const char* announced[] = {"", "\nNameVirtualHost 10.0.0.2:80\n", "", ""};
    for (size_t i = 0; i < std::size(sites); ++i) {
        const CapturedOutput output;
        EXPECT_EQ(create(file, sites[i].first, sites[i].second), 94);
        expected += std::string("\n") + announced[i] +
                    blockOf({.domain = sites[i].first.domain, .address = written[i]});
        EXPECT_EQ(readFile(file), expected);
    }
}

TEST(WebsiteCreation, MakesTheFoldersAndRunsExactlyTheseCommands) {
    addSiteAccounts();
    const FakeTools tools;
    for (const char* program : {"mv", "cp", "chmod", "chown"}) {
        tools.watch(program);
    }
    const std::string file = scratch("conf/httpd.conf");
    writeFile(file, "Listen 80\n");
    CZPTrackManager tracking;
    VHostEntry request = requestFor(Four, '1');
    fs::create_directories("/var/www/example.com");
    ::umask(077);
    EXPECT_EQ(CZPWebsite(&tracking, file.c_str()).CreateWebsite(&request), 94);
    ::umask(022);

    EXPECT_EQ(callsOf(tracking),
              (StringVector{"module Apache", "properties HDCFFile=" + file, "method CreateWebsite",
                            "arguments objVHost->DName=example.com, objVHost->IPAddress=10.0.0.5, "
                            "objVHost->Path=/var/www/, objVHost->Port=8080, "
                            "objVHost->ServerAdmin=siteadmin"}));
    const std::string log = "/var/www/example.com/log";
    auto calls = tools.calls();
    ASSERT_EQ(calls.size(), 5U);
    EXPECT_EQ(with(calls.back(), scratch("conf/"), "").find_first_not_of("0123456789", 3), 13U)
        << calls.back();
    EXPECT_TRUE(calls.back().ends_with(" " + file));
    calls.pop_back();
    EXPECT_EQ(calls, (StringVector{"chmod -R 505 " + log, "chown -R siteadmin:zp7group " + log,
                                   "chmod -R 505 " + log + "/httpd",
                                   "chown -R siteadmin:zp7group " + log + "/httpd"}));
    EXPECT_EQ(folderList("/var/www/example.com"),
              lines({" 0755 0:0", "/www 4701 2001:2002", "/www/html 4701 2001:2002",
                     "/www/cgi-bin 4701 2001:2002", "/log 0505 2003:2005", "/log/httpd 0505 2003:2005",
                     "/db 4707 2001:2002", "/special 4705 2001:2002"}));
    EXPECT_EQ(namesIn(scratch("conf")), StringVector{"httpd.conf"});
}

TEST(WebsiteCreation, EndsAtTheFirstFolderThatCannotBeMade) {
    addSiteAccounts();
    const std::string file = scratch("conf/httpd.conf");
    const char* folders[] = {"www", "www/html", "www/cgi-bin", "log", "log/httpd", "db", "special"};
    const std::string home = "/var/www/example.com/";
    for (const auto& [ipSwitch, after] :
         {std::pair('1', Own), std::pair('2', "\nNameVirtualHost10.0.0.5:80\n" + Four80 + "\n")}) {
        for (size_t taken : {0, 3, 5, 6}) {  // something stands in the place of this one
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

TEST(WebsiteCreation, LeavesAnUnknownAdministratorToTheCommand) {
    addSiteAccounts();
    const std::string file = scratch("conf/httpd.conf");
    writeFile(file, "");
    EXPECT_EQ(create(file, {.administrator = "nobody-here"}, '0'), 94);
    EXPECT_EQ(owner("/var/www/example.com/log"), "0:0");
    EXPECT_EQ(readFile(file), "\n" + blockOf({.administrator = "nobody-here"}));
}

TEST(WebsiteCreation, SaysWhenTheConfigurationCannotBeOpened) {
    addSiteAccounts();
    const CapturedOutput output;
    EXPECT_EQ(create(scratch("conf"), Four, '1'), 22);  // a folder
    EXPECT_EQ(create(scratch("missing.conf"), Four, '1'), 22);
    EXPECT_EQ(output.text(), "Error while opening HttpdConfFile\nError while opening HttpdConfFile\n");
    EXPECT_EQ(namesIn("/var/www/example.com"), StringVector{});
    ASSERT_FALSE(namesIn(scratch()).empty());
    EXPECT_EQ(readFile(scratch(namesIn(scratch()).back())), "") << "the empty scratch file stays";
}

TEST(PanelPort, BlockIsWrittenUnlessItIsThere) {
    const std::string sites =
        lines({"#DocumentRoot \"/no\"", "", " DocumentRoot \"/usr/panel/www\"", "DocumentRoot \"/second\"",
               "\tScriptAlias /cgi-bin/ \"/usr/panel/cgi-bin/\"", "ScriptAlias /second/ \"/x\"",
               "#<VirtualHost 10.0.0.5:8077>"});
    const std::string block =
        "\n<VirtualHost 10.0.0.5:8077>\n\tDocumentRoot \"/usr/panel/www/admin/\"\n"
        "\tServerName 10.0.0.5\n\tScriptAlias  /cgi-bin/ \"/usr/panel/cgi-bin/\"\n</VirtualHost>\n";
    const std::string empty =
        "\n<VirtualHost 10.0.0.5:8077>\n\tDocumentRoot \"/admin/\"\n\tServerName 10.0.0.5\n"
        "\tScriptAlias  \n</VirtualHost>\n";
    const std::pair<std::string, std::string> files[] = {
        {sites, block},
        {sites + "  <virtualhost 1.2.3.4:80 10.0.0.5:8077>\n", ""},
        {"", empty},
        {std::string(1022, 'x') + "\n" + sites, block},
        {std::string(1023, 'x') + "\n" + sites, empty},
    };
    const std::string file = scratch("httpd.conf");
    for (const auto& [text, written] : files) {
        writeFile(file, text);
        std::ofstream out(scratch("out"));
        EXPECT_EQ(CZPWebsite(nullptr, file.c_str()).AddWebsitePort(out, "10.0.0.5"), 0);
        out.close();
        EXPECT_EQ(readFile(scratch("out")), written);
    }
    std::ofstream out(scratch("out"));
    EXPECT_EQ(CZPWebsite(nullptr, "").AddWebsitePort(out, "10.0.0.5"), 15);
    const CapturedOutput output;
    EXPECT_EQ(CZPWebsite(nullptr, scratch("missing").c_str()).AddWebsitePort(out, "10.0.0.5"), 1);
    EXPECT_EQ(output.text(), "Error opening HttpdConfFile file");
}

TEST(HostingLimits, BlockFollowsTheFirstModuleLine) {
    const auto enable = [](const std::string& file) {
        return CZPWebsite(nullptr, file.c_str()).EnableHostingLimits();
    };
    const std::string block =
        "<IfModule mod_hostinglimits.c>\n"
        "\tAllowedHandlers cgi-script .cgi .pl php5-script x-httpd-php\n</IfModule>\n";
    const std::string load = "#LoadModule hostinglimits_module modules/mod_hostinglimits.so\n";
    const std::string bound(2999, 'x');
    const FileCase cases[] = {
        {"first", "A\n\n" + load + "B\n" + load, enable, 0, "A\n\n" + load + block + "B\n" + load},
        {"again", load + block, enable, 0, load + block + block},
        {"none", "loadmodule hostinglimits\n\nLoadModule php", enable, 0,
         "loadmodule hostinglimits\n\nLoadModule php\n"},
        {"bound", bound + "\n" + load, enable, 0, bound + "\n" + load + block},
        {"beyond", "A\n" + bound + "x\n" + load, enable, 0, "A\n"},
    };
    for (const FileCase& fileCase : cases) {
        check(fileCase);
    }
}
