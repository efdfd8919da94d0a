// Creation of a website: its block, its directories, what is said and run on the way.
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
#include "support/Told.h"

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
FileCase announced(const char* name, const Site& site, const std::string& value,
                   const std::string& expected) {
    return {name, "NameVirtualHost" + value + "\n", creating(site, '1'), expected};
}

const FileCase Appended[] = {
    // What the administrator noted at the top stays.
    {"mode0_keeps_leading_comments", ListOfSites, creating(Four, '0'), R"(94
22..23+
24+<VirtualHost 10.0.0.5>
25+	(block of example.com))"},
    // The server takes an IPv6 address in brackets only.
    {"mode0_ipv6", "", creating(Six, '0'), R"(94
1..2+
3+<VirtualHost [2001:db8::5]>
4+	(block of example.com))"},
    // The block must name the port as the announcement does, or it is not found.
    {"mode0_announced_with_port", "NameVirtualHost 10.0.0.5:*\n", creating(Four, '0'), R"(94
> Requested IP is IPV4
> IPV4 NameVirtualHost found with port
2..3+
4+<VirtualHost 10.0.0.5:80>
5+	(block of example.com))"},
    // A known loss of this mode.
    {"mode1_drops_leading_comments", ListOfSites, creating(Four, '1'), R"(94
1-# first
2-#
20..21,23+
22+NameVirtualHost 10.0.0.5:80
24+<VirtualHost 10.0.0.5:80>
25+	(block of example.com))"},
    // An unfinished last line is not made longer.
    {"mode1_ipv6", "Listen 80", creating(Six, '1'), R"(94
1-Listen 80 (no newline)
1+Listen 80
2,4+
3+NameVirtualHost [2001:db8::5]:80
5+<VirtualHost [2001:db8::5]:80>
6+	(block of example.com))"},
    // The panel's port counts, not the usual one.
    {"mode1_other_port", "", creating(Four, '1', Port8080), R"(94
1..2,4+
3+NameVirtualHost 10.0.0.5:8080
5+<VirtualHost 10.0.0.5:8080>
6+	(block of example.com))"},
    // Of two announcements that for the panel's port counts.
    {"mode1_announced_with_other_port", "NameVirtualHost 10.0.0.5:80\nNameVirtualHost 10.0.0.5:8080\n",
     creating(Four, '1', Port8080), R"(94
> Requested IP is IPV4
> Requested IP is IPV4
> IPV4 NameVirtualHost found with port
3..4+
5+<VirtualHost 10.0.0.5:8080>
6+	(block of example.com))"},
    // An unknown mode is no failure.
    {"other_mode_writes_nothing_but_makes_the_folders", ListOfSites, creating(Four, '3'), "94"},
    // An announcement without port is met without one.
    announced("announced", Four, " 10.0.0.5", R"(94
> Requested IP is IPV4
> IPV4 NameVirtualHost found without port
2..3+
4+<VirtualHost 10.0.0.5>
5+	(block of example.com))"),
    // Blanks around the value tell no two addresses apart.
    announced("announced_with_port", Four, "\t 10.0.0.5:80 \t", R"(94, chatter
2..3+
4+<VirtualHost 10.0.0.5:80>
5+	(block of example.com))"),
    // A star announces this port, too.
    announced("announced_for_every_port", Four, " 10.0.0.5:*", R"(94, chatter
2..3+
4+<VirtualHost 10.0.0.5:80>
5+	(block of example.com))"),
    // Another port is another place.
    announced("announced_for_another_port", Four, " 10.0.0.5:81", R"(94
> Requested IP is IPV4
2..3,5+
4+NameVirtualHost 10.0.0.5:80
6+<VirtualHost 10.0.0.5:80>
7+	(block of example.com))"),
    // Brackets are for IPv6.
    announced("announced_in_brackets_only", Four, " [10.0.0.5]", R"(94, chatter
2..3,5+
4+NameVirtualHost 10.0.0.5:80
6+<VirtualHost 10.0.0.5:80>
7+	(block of example.com))"),
    // Letter case tells no two addresses apart.
    announced("announced_ipv6", Six, " [2001:DB8::5]:80", R"(94
> Requested IP is IPV6
> Picked IP is IPV6
> IPV6 NameVirtualHost found
2..3+
4+<VirtualHost [2001:db8::5]:80>
5+	(block of example.com))"),
    // The star again.
    announced("announced_ipv6_for_every_port", Six, " [2001:db8::5]:*", R"(94, chatter
2..3+
4+<VirtualHost [2001:db8::5]:80>
5+	(block of example.com))"),
    // Without a port it is another announcement for IPv6: a known limit.
    announced("announced_ipv6_without_port", Six, " [2001:db8::5]", R"(94
> Requested IP is IPV6
> Picked IP is IPV6
2..3,5+
4+NameVirtualHost [2001:db8::5]:80
6+<VirtualHost [2001:db8::5]:80>
7+	(block of example.com))"),
    // The server would not read it, so that it announces nothing.
    announced("announced_ipv6_without_brackets", Six, " 2001:db8::5", R"(94
> Requested IP is IPV6
2..3,5+
4+NameVirtualHost [2001:db8::5]:80
6+<VirtualHost [2001:db8::5]:80>
7+	(block of example.com))"),
    // A bare keyword announces nothing.
    announced("announced_for_nothing", Six, "", R"(94, chatter
2..3,5+
4+NameVirtualHost [2001:db8::5]:80
6+<VirtualHost [2001:db8::5]:80>
7+	(block of example.com))"),
};

const FileCase Replaced[] = {
    // Where the address had a block the site's stands in its place.
    {"mode2_takes_the_place_of_the_address", "# lost\nListen 80\n" + Own + "Listen 81\n",
     creating(Four, '2'), R"(94
1-# lost
2,4,8+
3+NameVirtualHost10.0.0.5:80
4-	ServerName 10.0.0.5
5-	DocumentRoot "/var/www"
6-</VirtualHost>
6+	(block of example.com))"},
    // The announcement is not doubled.
    {"mode2_announced", "NameVirtualHost 10.0.0.5\n" + Own, creating(Four, '2'), R"(94, chatter
2-<VirtualHost 10.0.0.5:80>
3-	ServerName 10.0.0.5
4-	DocumentRoot "/var/www"
5-</VirtualHost>
2,5+
3+<VirtualHost 10.0.0.5>
4+	(block of example.com))"},
    // The second is left for its owner.
    {"mode2_only_the_first_block", Own + Own, creating(Four, '2'), R"(94
1,3,10+
2+NameVirtualHost10.0.0.5:80
2-	ServerName 10.0.0.5
3-	DocumentRoot "/var/www"
4-</VirtualHost>
5+	(block of example.com))"},
    // An address that begins alike is taken as well: a known oddity.
    {"mode2_also_a_longer_address", with(Own, "10.0.0.5:80", "10.0.0.55"), creating(Four, '2'), R"(94
1-<VirtualHost 10.0.0.55>
2-	ServerName 10.0.0.5
3-	DocumentRoot "/var/www"
4-</VirtualHost>
1,3,6+
2+NameVirtualHost10.0.0.5:80
4+<VirtualHost 10.0.0.5:80>
5+	(block of example.com))"},
    // Another name at the address is met as the site itself: it is refused.
    {"mode2_block_of_a_name", with(Own, "ServerName 10.0.0.5", "ServerName other.example"),
     creating(Four, '2'), R"(92, #
> no folders)"},
    // No name, no place to write: the file that the server reads stays whole.
    {"mode2_block_without_a_name_vanishes_only_from_the_copy",
     "<VirtualHost 10.0.0.5>\nX\n</VirtualHost>\nY\n", creating(Four, '2'), "94"},
    // An indented end tag is not seen, and the rest of the file goes: a known loss.
    {"mode2_end_tag_must_begin_the_line", with(Own, "</VirtualHost>", "\t</VirtualHost>") + "Listen 81\n",
     creating(Four, '2'), R"(94
1,3+
2+NameVirtualHost10.0.0.5:80
2-	ServerName 10.0.0.5
3-	DocumentRoot "/var/www"
4-	</VirtualHost>
5-Listen 81
5+	(block of example.com))"},
    // The server reads directives in any letter case.
    {"mode2_in_any_letter_case",
     "NAMEvirtualhost 10.0.0.5\n <VIRTUALhost 10.0.0.5>\nserverNAME 10.0.0.5\n</virtualHOST>\nListen 81\n",
     creating(Four, '2'), R"(94, chatter
2- <VIRTUALhost 10.0.0.5>
3-serverNAME 10.0.0.5
4-</virtualHOST>
2,6+
3+<VirtualHost 10.0.0.5>
4+	(block of example.com))"},
    // An announcement with the port is met with the port.
    {"mode2_announced_with_port", "NameVirtualHost 10.0.0.5:80\n" + Own, creating(Four, '2'), R"(94, chatter
2,5+
3-	ServerName 10.0.0.5
4-	DocumentRoot "/var/www"
5-</VirtualHost>
4+	(block of example.com))"},
    // The panel's port counts, not the usual one.
    {"mode2_other_port", Own, creating(Four, '2', Port8080), R"(94
1-<VirtualHost 10.0.0.5:80>
2-	ServerName 10.0.0.5
3-	DocumentRoot "/var/www"
4-</VirtualHost>
1,3,6+
2+NameVirtualHost10.0.0.5:8080
4+<VirtualHost 10.0.0.5:8080>
5+	(block of example.com))"},
    // Nothing to replace, nothing to write.
    {"mode2_no_block_of_the_address", ListOfSites, creating(Four, '2'), "94"},
    // Looked for without them, the block is not found: a known limit.
    {"mode2_ipv6_blocks_are_in_brackets", with(Own, "10.0.0.5:80", "[2001:db8::5]:80"), creating(Six, '2'),
     "94"},
};

// Once a site has needed the port, every later IPv4 block has it.
const FileCase Successive[] = {
    // One manager that creates many sites writes them alike.
    {"port_for_the_first_name_based_one_and_all_behind", "",
     creatingAll({{first, '0'}, {second, '1'}, {third, '0'}, {Six, '0'}}), R"(94
> Requested IP is IPV4
> Requested IP is IPV6
1..2,5..6,8,11..12,15..16+
3+<VirtualHost 10.0.0.1>
4+	(block of a.example)
7+NameVirtualHost 10.0.0.2:80
9+<VirtualHost 10.0.0.2:80>
10+	(block of b.example)
13+<VirtualHost 10.0.0.3:80>
14+	(block of c.example)
17+<VirtualHost [2001:db8::5]>
18+	(block of example.com))"},
    // The other family's site counts, too.
    {"port_behind_an_ipv6_address_too", "", creatingAll({{Six, '1'}, {first, '0'}}), R"(94, chatter
1..2,4,7..8+
3+NameVirtualHost [2001:db8::5]:80
5+<VirtualHost [2001:db8::5]:80>
6+	(block of example.com)
9+<VirtualHost 10.0.0.1:80>
10+	(block of a.example))"},
    // And so where the announcement was there before.
    {"port_behind_one_that_was_met_in_mode0", "NameVirtualHost 10.0.0.1:*\n",
     creatingAll({{first, '0'}, {second, '0'}}), R"(94
> Requested IP is IPV4
> IPV4 NameVirtualHost found with port
> Requested IP is IPV4
2..3,6..7+
4+<VirtualHost 10.0.0.1:80>
5+	(block of a.example)
8+<VirtualHost 10.0.0.2:80>
9+	(block of b.example))"},
};

const FileCase Refused[] = {
    // A second site of one name would never be reached.
    {"exists_in_mode1", "ServerName example.com\n", creating(Four, '1'), "92, #, chatter"},
    // Letter case does not make it another.
    {"exists", "ServerName EXAMPLE.com\n", creating(Four, '0'), "92, #, chatter"},
    // The whole file is looked through before anything is replaced.
    {"exists_behind_the_replaced_block", Own + " ServerName example.com", creating(Four, '2'),
     "92, #, chatter"},
    // A blank makes it another name: a known limit.
    {"exists_not_with_trailing_blank", "ServerName example.com \n", creating(Four, '0'), R"(94
2..3+
4+<VirtualHost 10.0.0.5>
5+	(block of example.com))"},
    // A comment is no site.
    {"exists_as_a_comment_only", "Listen 80\n#ServerName example.com\n", creating(Four, '0'), R"(94
3..4+
5+<VirtualHost 10.0.0.5>
6+	(block of example.com))"},
    // The name that the server sees is looked for, too.
    {"exists_by_its_ascii_name", "ServerName xn--bcher-kva.example\n",
     creating({.domain = "Bücher.example", .asciiDomain = "xn--bcher-kva.example"}, '0'), "92, #, chatter"},
    // The block bears the name as it was given.
    {"name_beyond_ascii", "",
     creating({.domain = "Bücher.example", .asciiDomain = "xn--bcher-kva.example"}, '0'), R"(94
1..2+
3+<VirtualHost 10.0.0.5>
4+	(block of Bücher.example))"},
    // Letter case is no second name.
    {"ascii_name_in_other_case", "", creating({.domain = "Example.com", .asciiDomain = "example.com"}, '0'),
     R"(94
1..2+
3+<VirtualHost 10.0.0.5>
4+	(block of Example.com))"},
};

// On a CloudLinux host.
FileCase limited(const char* name, const std::string& product, const std::string& before,
                 const std::string& expected) {
    return {name, before,
            [=](const std::string& file) {
                writeFile("/etc/CloudLinux-release", "");
                return creating(Four, '0', product)(file);
            },
            expected};
}

const std::string Dso = "PHPHandler=\"dso\"\n", Fcgid = "PHPHandler=\"fcgid\"\n";
const FileCase Limited[] = {
    // Two sites with one number would share their limits.
    limited("limits_next_id", Dso, "LVEId 1004\n", R"(94
2..3+
4+<VirtualHost 10.0.0.5>
5+	ServerName example.com
6+	ServerAdmin siteadmin@example.com
7+	DocumentRoot "/var/www/example.com/www/html"
8+	ServerAlias www.example.com
9+	ErrorLog /var/www/example.com/log/httpd/error_log
10+	CustomLog /var/www/example.com/log/httpd/access_log combined
11+	<Directory "/var/www/example.com">
12+		LVEId 1005
13+		AllowOverride All
14,16+	</Directory>
15+	<Directory "/var/www/example.com/www">
17+</VirtualHost>)"),
    // Numbers begin above those of the system.
    limited("limits_first_id", Dso, "Listen 80\n", R"(94
2..3+
4+<VirtualHost 10.0.0.5>
5+	ServerName example.com
6+	ServerAdmin siteadmin@example.com
7+	DocumentRoot "/var/www/example.com/www/html"
8+	ServerAlias www.example.com
9+	ErrorLog /var/www/example.com/log/httpd/error_log
10+	CustomLog /var/www/example.com/log/httpd/access_log combined
11+	<Directory "/var/www/example.com">
12+		LVEId 1001
13+		AllowOverride All
14,16+	</Directory>
15+	<Directory "/var/www/example.com/www">
17+</VirtualHost>)"),
    // What cannot be read counts as none.
    limited("limits_no_readable_id", Dso, "LVEId\t1004\n", R"(94
2..3+
4+<VirtualHost 10.0.0.5>
5+	(block of example.com))"),
    // Without suEXEC each handler needs its own line.
    limited("limits_fcgid_without_suexec", Fcgid + "SUexecSetting=\"disabled\"\n", "LVEId 1\n", R"(94
2..3+
4+<VirtualHost 10.0.0.5>
5+	ServerName example.com
6+	ServerAdmin siteadmin@example.com
7+	DocumentRoot "/var/www/example.com/www/html"
8+	ServerAlias www.example.com
9+	ErrorLog /var/www/example.com/log/httpd/error_log
10+	CustomLog /var/www/example.com/log/httpd/access_log combined
11+	<Directory "/var/www/example.com">
12+		LVEId 2
13+		AllowOverride All
14,16+	</Directory>
15+	<Directory "/var/www/example.com/www">
17+</VirtualHost>)"),
    // With it none does.
    limited("limits_fcgid_with_suexec", Fcgid + "SUexecSetting=\"Disabled\"\n", "LVEId 1\n", R"(94
2..3+
4+<VirtualHost 10.0.0.5>
5+	(block of example.com))"),
    // Nor with a handler that knows limits itself.
    limited("limits_other_handler", "PHPHandler=\"DSO\"\nSUexecSetting=\"disabled\"\n", "LVEId 1\n", R"(94
2..3+
4+<VirtualHost 10.0.0.5>
5+	(block of example.com))"),
    // Other hosts know no limits, and would refuse the line.
    {"limits_other_host", "LVEId 1\n", creating(Four, '0', Dso), R"(94
2..3+
4+<VirtualHost 10.0.0.5>
5+	(block of example.com))"},
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
        const std::string& move = calls.back();
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
        told += "written:" + readFile(scratch("out")) + "\n";
    }
    expectTold(told, R"(written:
<VirtualHost 10.0.0.5:8077>
	DocumentRoot "/usr/panel/www/admin/"
	ServerName 10.0.0.5
	ScriptAlias  /cgi-bin/ "/usr/panel/cgi-bin/"
</VirtualHost>

written:
written:
<VirtualHost 10.0.0.5:8077>
	DocumentRoot "/admin/"
	ServerName 10.0.0.5
	ScriptAlias  
</VirtualHost>

written:
<VirtualHost 10.0.0.5:8077>
	DocumentRoot "/usr/panel/www/admin/"
	ServerName 10.0.0.5
	ScriptAlias  /cgi-bin/ "/usr/panel/cgi-bin/"
</VirtualHost>

written:
<VirtualHost 10.0.0.5:8077>
	DocumentRoot "/admin/"
	ServerName 10.0.0.5
	ScriptAlias  
</VirtualHost>
)");
}

class HostingLimits : public ::testing::TestWithParam<FileCase> {};
TEST_P(HostingLimits, BlockFollowsTheFirstModuleLine) { check(GetParam()); }

namespace {

int enableLimits(const std::string& file) {
    return CZPWebsite(nullptr, file.c_str()).EnableHostingLimits();
}
const std::string Load = "#LoadModule hostinglimits_module modules/mod_hostinglimits.so\n";
const FileCase Limits[] = {
    // The block belongs to the module, once.
    {"first", "A\n\n" + Load + "B\n" + Load, enableLimits, R"(0
4+<IfModule mod_hostinglimits.c>
5+	AllowedHandlers cgi-script .cgi .pl php5-script x-httpd-php
6+</IfModule>)"},
    // A second call adds a second block: a known surprise.
    {"again", Load, twice(enableLimits), R"(0
2,5+<IfModule mod_hostinglimits.c>
3,6+	AllowedHandlers cgi-script .cgi .pl php5-script x-httpd-php
4,7+</IfModule>)"},
    // Without the module nothing is written.
    {"none", "loadmodule hostinglimits\n\nLoadModule php", enableLimits, R"(0
3-LoadModule php (no newline)
3+LoadModule php)"},
};

}  // namespace
INSTANTIATE_TEST_SUITE_P(Block, HostingLimits, ::testing::ValuesIn(Limits), byName);
