// Shared and own addresses: which are in use, who stands at a shared one, and moving a site between them.
#include <CZPWebsite.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "support/FileCase.h"
#include "support/Files.h"
#include "support/Operations.h"
#include "support/Told.h"
#include "support/Watching.h"

using namespace zp::test;
namespace fs = std::filesystem;

namespace {

FileOperation toOwn(const char* from, const char* to) {
    return onFile(&CZPWebsite::NameBasedToIPBased, from, to, "example.com");
}
FileOperation toShared(const char* from, const char* to, const char* port = "") {
    return [=](auto& file) {
        writeFile("/etc/ZeplarPanel.conf",
                  *port == '\0' ? "" : std::string("WebServerPort=\"") + port + "\"\n");
        return CZPWebsite(nullptr, file.c_str()).IPBasedToNameBased(from, to, "example.com");
    };
}

std::string block(const std::string& address, const std::string& inner = "\tServerName example.com\n") {
    return "<VirtualHost " + address + ">\n" + inner + "</VirtualHost>\n";
}
const std::string Secure = "\tServerName example.com\n\t<IfModule mod_ssl.c>\n\t</IfModule>\n";

// Four blocks at one address, two of them the site's, empty lines inside and outside of them.
const std::string Shared = collected("samples/shared-address.conf");
const std::string Long(1023, 'x');

const FileCase addressingCases[] = {
    // Only the site's blocks move, and the announcement of its new address goes: the server would share it
    // otherwise.
    {"ToOwn", Shared, toOwn("10.0.0.5", "10.0.0.9"), R"(123
2,17,23,29-
3-  namevirtualhost 10.0.0.9 	
10- <VirtualHost 	10.0.0.5 10.0.0.7:80>
8,21+<VirtualHost 10.0.0.9>
25-<VirtualHost 10.0.0.5>)"},
    // Nothing but empty lines may go, and every neighbour stays at its address.
    {"ToOwnOfASiteThatIsNotThere", Shared, toOwn("10.0.0.6", "10.0.0.8"), R"(32
2,6,11,15,17,23,29-
3-  namevirtualhost 10.0.0.9 	
2+  namevirtualhost 10.0.0.9)"},
    // A repeated request does no harm.
    {"ToOwnWhereTheSiteStandsAlready", block("10.0.0.9"), toOwn("10.0.0.9", "10.0.0.9"), "123"},
    // Letter case tells no two addresses apart; brackets do.
    {"ToOwnIPv6",
     "NameVirtualHost [2001:DB8::9]\nNameVirtualHost [2001:db8::9]:80\nNameVirtualHost 2001:db8::9\n" +
         block("[2001:DB8::5]:80") + block("[2001:db8::5") + block("2001:db8::5"),
     toOwn("2001:db8::5", "2001:db8::9"), R"(123
1-NameVirtualHost [2001:DB8::9]
4-<VirtualHost [2001:DB8::5]:80>
3+<VirtualHost [2001:db8::9]>)"},
    // Callers of today rely on this reading of a line with two addresses.
    {"ToOwnCutsAnAddressAtTheLastBracket", block("[::5]:80 [::6]:80"), toOwn("::5]:80 [::6", "::9"), R"(123
1-<VirtualHost [::5]:80 [::6]:80>
1+<VirtualHost [::9]>)"},
    // What somebody left half written behind the last block is not lost.
    {"ToOwnOfABlockThatIsNeverClosed",
     block("10.0.0.5", "\tServerName other.example\n") +
         "<VirtualHost 10.0.0.5:80>\nServerName example.com\n\nListen 1",
     toOwn("10.0.0.5", "10.0.0.9"), R"(123
4-<VirtualHost 10.0.0.5:80>
4+<VirtualHost 10.0.0.9>
7-Listen 1 (no newline)
7+Listen 1)"},
    // The same where the open block is nobody's.
    {"ToOwnKeepsAnotherBlockThatIsNeverClosed", "<VirtualHost 10.0.0.5:80>\nServerName\n\nListen 1\n",
     toOwn("10.0.0.5", "10.0.0.9"), "32"},
    // A second announcement of one address makes the server complain at every start.
    {"ToSharedWithItsLineThere",
     block("10.0.0.5") + "NameVirtualHost 10.0.0.9:80 \nNameVirtualHost 10.0.0.9:*\n",
     toShared("10.0.0.5", "10.0.0.9"), R"(121
> SSL is not enabled
> In name virtual host
> Requested IP is IPV4
> 10.0.0.9:80==10.0.0.9:80  OR  ==10.0.0.9:*
> IPV4 NameVirtualHost for port 80 found
1-<VirtualHost 10.0.0.5>
1+<VirtualHost 10.0.0.9:80>)"},
    // The announcement for every port serves this one, too.
    {"ToSharedWithALineForAllPorts", "namevirtualhost 10.0.0.9:*\n" + block("10.0.0.5:80"),
     toShared("10.0.0.5", "10.0.0.9", "8080"), R"(121
> SSL is not enabled
> In name virtual host
> Requested IP is IPV4
> 10.0.0.9:*==10.0.0.9:8080  OR  ==10.0.0.9:*
> IPV4 NameVirtualHost for all ports found
2-<VirtualHost 10.0.0.5:80>
2+<VirtualHost 10.0.0.9:8080>)"},
    // Without an announcement the server would answer with the first site for every name.
    {"ToSharedAddsALineBeforeTheFirst", Shared, toShared("10.0.0.5", "10.0.0.8"), R"(121, .zpbackup.rt
> SSL is not enabled
> In name virtual host
> Requested IP is IPV4
> 10.0.0.5:80==10.0.0.8:80  OR  ==10.0.0.8:*
> In name virtual host
> Requested IP is IPV4
> 10.0.0.9==10.0.0.8:80  OR  ==10.0.0.8:*
> In name virtual host
> Requested IP is IPV4
> 10.0.0.99==10.0.0.8:80  OR  ==10.0.0.8:*
1+NameVirtualHost 10.0.0.8:80
2,6,11,15,17,23,29-
10- <VirtualHost 	10.0.0.5 10.0.0.7:80>
9,20+<VirtualHost 10.0.0.8:80>
25-<VirtualHost 10.0.0.5>
kept:
2,17,23,29-
10- <VirtualHost 	10.0.0.5 10.0.0.7:80>
9,22+<VirtualHost 10.0.0.8:80>
25-<VirtualHost 10.0.0.5>)"},
    // Without an announcement to stand before, the place is a fixed line.
    {"ToSharedAddsALineBeforeTheTenth", block("10.0.0.5") + "1\n2\n3\n4\n5\n6\n7\n8\n",
     toShared("10.0.0.5", "10.0.0.9"), R"(121, .zpbackup.rt
> SSL is not enabled
1-<VirtualHost 10.0.0.5>
1+<VirtualHost 10.0.0.9:80>
10+NameVirtualHost 10.0.0.9:80
kept:
1-<VirtualHost 10.0.0.5>
1+<VirtualHost 10.0.0.9:80>)"},
    // TLS is announced for a port of its own.
    {"ToSharedOfASecureSite",
     "NameVirtualHost 10.0.0.7\n" + block("10.0.0.5:80") + block("10.0.0.5:443", Secure),
     toShared("10.0.0.5", "10.0.0.9"), R"(121, .zpbackup.rt
> modname=mod_ssl
> In name virtual host
> Requested IP is IPV4
> 10.0.0.7==10.0.0.9:80  OR  ==10.0.0.9:*
1+NameVirtualHost 10.0.0.9:443
2+NameVirtualHost 10.0.0.9:80
2-<VirtualHost 10.0.0.5:80>
4,7+<VirtualHost 10.0.0.9:443>
5-<VirtualHost 10.0.0.5:443>
kept:
1+NameVirtualHost 10.0.0.9:80
2-<VirtualHost 10.0.0.5:80>
3,6+<VirtualHost 10.0.0.9:443>
5-<VirtualHost 10.0.0.5:443>)"},
    // Both announcements are known in every spelling.
    {"ToSharedOfASecureSiteWithItsLinesThere",
     "NameVirtualHost [::9]:443\nNameVirtualHost ::9:80\nNameVirtualHost [::9]:80\n" +
         block("[::5]", Secure),
     toShared("::5", "::9"), R"(121
> modname=mod_ssl
> In name virtual host
> Requested IP is IPV6
> Picked IP is IPV6
> IPV6 NameVirtualHost for port 443 found
> In name virtual host
> Requested IP is IPV6
> In name virtual host
> Requested IP is IPV6
> Picked IP is IPV6
> IPV6 NameVirtualHost for port 80 found
4-<VirtualHost [::5]>
4+<VirtualHost [::9]:443>)"},
    // The search ends at the first: the line for TLS behind it is announced twice, a known surprise.
    {"ToSharedLooksAtNoLineBehindTheOneForThePort",
     "NameVirtualHost [::A]:80\nNameVirtualHost [::a]:443\n" + block("[::5]", Secure),
     toShared("::5", "::a"), R"(121, .zpbackup.rt
> modname=mod_ssl
> In name virtual host
> Requested IP is IPV6
> Picked IP is IPV6
> IPV6 NameVirtualHost for port 80 found
1+NameVirtualHost [::a]:443
3-<VirtualHost [::5]>
4+<VirtualHost [::a]:443>
kept:
3-<VirtualHost [::5]>
3+<VirtualHost [::a]:443>)"},
    // One line is enough for both ports.
    {"ToSharedOfASecureSiteWithALineForAllPorts",
     "NameVirtualHost 10.0.0.9:*\n" + block("10.0.0.5:443", Secure), toShared("10.0.0.5", "10.0.0.9"),
     R"(121
> modname=mod_ssl
> In name virtual host
> Requested IP is IPV4
> 10.0.0.9:*==10.0.0.9:80  OR  ==10.0.0.9:*
> IPV4 NameVirtualHost for all ports found
2-<VirtualHost 10.0.0.5:443>
2+<VirtualHost 10.0.0.9:443>)"},
    // The panel's port counts, not the usual one.
    {"ToSharedOnAnotherPort", block("10.0.0.5") + "NameVirtualHost 10.0.0.9:80\n",
     toShared("10.0.0.5", "10.0.0.9", "8080"), R"(121, .zpbackup.rt
> SSL is not enabled
> In name virtual host
> Requested IP is IPV4
> 10.0.0.9:80==10.0.0.9:8080  OR  ==10.0.0.9:*
1-<VirtualHost 10.0.0.5>
1+<VirtualHost 10.0.0.9:8080>
4+NameVirtualHost 10.0.0.9:8080
kept:
1-<VirtualHost 10.0.0.5>
1+<VirtualHost 10.0.0.9:8080>)"},
    // And it is found again.
    {"ToSharedOnAnotherPortWithItsLineThere", "NameVirtualHost 10.0.0.9:8080\n" + block("10.0.0.5"),
     toShared("10.0.0.5", "10.0.0.9", "8080"), R"(121
> SSL is not enabled
> In name virtual host
> Requested IP is IPV4
> 10.0.0.9:8080==10.0.0.9:8080  OR  ==10.0.0.9:*
> IPV4 NameVirtualHost for port 80 found
2-<VirtualHost 10.0.0.5>
2+<VirtualHost 10.0.0.9:8080>)"},
    // An unknown site brings no announcement for nobody.
    {"ToSharedOfASiteThatIsNotThere", "\n" + block("10.0.0.5"), toShared("10.0.0.6", "10.0.0.9"),
     "32, #, chatter"},
};

std::string found(const StringVector& addresses) {
    std::string text;
    for (const std::string& address : addresses) {
        text += "|" + address;
    }
    return text;
}

// What ISIPLessDomain says of example.com: the answer, and the address where one was given.
std::string placed(const std::string& file, const std::string& domain = "example.com") {
    std::string address = "unchanged";
    const std::string answer = CZPWebsite(nullptr, "").ISIPLessDomain(domain, file, address);
    return answer + " " + address;
}

}  // namespace

class Addressing : public ::testing::TestWithParam<FileCase> {};
TEST_P(Addressing, File) { check(GetParam()); }
INSTANTIATE_TEST_SUITE_P(Moves, Addressing, ::testing::ValuesIn(addressingCases), byName);

TEST(Addressing, AMoveThereAndBackIsTheFirstStateAgain) {
    const std::string file = scratch("httpd.conf");
    const std::string before = "NameVirtualHost 10.0.0.5:80\n" + block("10.0.0.5:80");
    writeFile(file, before);
    const CapturedOutput output;
    EXPECT_EQ(toOwn("10.0.0.5", "10.0.0.9")(file), 123);
    EXPECT_EQ(toOwn("10.0.0.5", "10.0.0.9")(file), 32) << "gone from there";
    EXPECT_EQ(toShared("10.0.0.9", "10.0.0.5")(file), 121);
    EXPECT_EQ(toShared("10.0.0.9", "10.0.0.5")(file), 32);
    EXPECT_EQ(readFile(file), before);
}

TEST(OccupiedAddresses, AreListedWithoutBracketsAndPort) {
    const std::string file = scratch("httpd.conf");
    writeFile(file,
              "namevirtualhost  *:80 x\nNameVirtualHost 10.0.0.5\nNameVirtualHost 10.0.0.5:443\n"
              "\tNameVirtualHost [2001:db8::a]:80\nNameVirtualHost [::1\nNameVirtualHost [::2]:80 "
              "[::3]:80\n#NameVirtualHost 10.0.0.1\n"
              "<virtualhost *>\n<VirtualHost 1.0>\n<VirtualHost a.b.c>\n<VirtualHost 10.0.0.6 "
              "10.0.0.7>\n<VirtualHost 10.0.0.6:1>\n"
              "<VirtualHost 10.0.0.5:80>\n<VirtualHost [2001:DB8::A]:80>\n<VirtualHost "
              "[2001:db8::B]:80>\n<VirtualHost [::4]:80 [::5]:80>\n"
              "<VirtualHost Host.example>\n<VirtualHost host.EXAMPLE>\n<VirtualHost 10.0.0.8>\n" +
                  Long + "x\n<VirtualHost 10.0.0.10>\n");
    StringVector addresses{"10.0.0.8"};
    const CapturedOutput output;
    EXPECT_EQ(CZPWebsite(nullptr, file.c_str()).ListOccupiedIPs(&addresses), 28);
    expectTold(
        found(addresses) + "\n" + printedLines(output.text()),
        R"(|10.0.0.8|*|10.0.0.5|10.0.0.5|2001:db8::a|::2]:80 [::3|a.b.c|10.0.0.6|2001:db8::B|::4]:80 [::5|Host.example
> Buffer=namevirtualhost  *:80 x
> Ptr= *:80 x
> IPV4 *:80 x
> cp1 *:80 x
> IPEntry*
> Buffer=NameVirtualHost 10.0.0.5
> Ptr=10.0.0.5
> IPV4 10.0.0.5
> cp1 10.0.0.5
> IPEntry10.0.0.5
> Buffer=NameVirtualHost 10.0.0.5:443
> Ptr=10.0.0.5:443
> IPV4 10.0.0.5:443
> cp1 10.0.0.5:443
> IPEntry10.0.0.5
> Buffer=	NameVirtualHost [2001:db8::a]:80
> Ptr=[2001:db8::a]:80
> IPV6
> IPEntry2001:db8::a
> Buffer=NameVirtualHost [::1
> Ptr=[::1
> IPV6
> Buffer=NameVirtualHost [::2]:80 [::3]:80
> Ptr=[::2]:80 [::3]:80
> IPV6
> IPEntry::2]:80 [::3)");
}

TEST(SharedAddress, IsOneThatANameVirtualHostLineBeforeTheSiteAnnounces) {
    const std::string file = scratch("httpd.conf");
    const std::pair<std::string, std::string> rows[] = {
        {"NameVirtualHost 10.0.0.5:80\n" + block("10.0.0.5:80"), "true 10.0.0.5"},
        {"NameVirtualHost10.0.0.5:80\n" + block("10.0.0.5"), "true 10.0.0.5"},
        {"NameVirtualHost 10.0.0.5\n" + block("10.0.0.5:80"), "false 10.0.0.5"},
        {block("10.0.0.5:80") + "NameVirtualHost 10.0.0.5:80\n", "false 10.0.0.5"},
        {"NameVirtualHost [::2]:80 [::3]:80\n" + block("[::2]:80 [::3]:80"), "true ::2]:80 [::3"},
        {"NameVirtualHost [2001:db8::5]\n" + block("[2001:db8::5]:80"), "true 2001:db8::5"},
        {"NameVirtualHost [2001:db8::5\nNameVirtualHost [2001:DB8::5]\n" + block("[2001:db8::5]:80"),
         "false 2001:db8::5"},
        {block("10.0.0.5", "\tServerName other.example\n\tServerName EXAMPLE.com\n"), "false 10.0.0.5"},
        {std::string(70000, 'x') + "\n" + block("10.0.0.5", "\tServerNameexample.com\n"), "false 10.0.0.5"},
        {"<VirtualHost 10.0.0.5>\n</virtualhost>\nServerName example.com\n", "false 10.0.0.5"},
        {"<VirtualHost 10.0.0.5>\n</VirtualHost>\nServerName example.com\n", "false unchanged"},
        {"<virtualhost 10.0.0.5>\nServerName example.com\n", "false unchanged"},
        {block("10.0.0.5", "\tServerName example.com \n\tServerName\n"), "false unchanged"},
        {"", "false unchanged"}};
    const CapturedOutput output;
    for (const auto& [text, answer] : rows) {
        writeFile(file, text);
        EXPECT_EQ(placed(file), answer) << text;
    }
    EXPECT_EQ(placed(""), "false unchanged");
    writeFile(file, block("10.0.0.5", "\tServerName\n"));
    EXPECT_EQ(placed(file, ""), "false unchanged");
    EXPECT_EQ(output.text().find("Error"), std::string::npos);
    EXPECT_EQ(placed(scratch("missing")), "false unchanged");
    EXPECT_TRUE(output.text().ends_with("IPEntry2001:DB8::5\nError while opening HttpdConfFile\n"));
}

TEST(SharedAddress, IsLookedForInIncludedFilesInTheirOrder) {
    const std::string root = scratch("root");
    const std::string file = scratch("httpd.conf");
    fs::create_directories(root + "/folder");
    writeFile(root + "/other.conf", block("10.0.0.1", "ServerName other.example\n"));
    writeFile(root + "/site.conf", block("10.0.0.5:80"));
    writeFile(root + "/later.conf", block("10.0.0.6:80"));
    const std::string before = "NameVirtualHost 10.0.0.5:80\n";
    const std::string includes =
        "Include folder\nInclude *.conf\nInclude missing.conf\nInclude other.conf\n"
        "<VirtualHost *>\nInclude later.conf\n</VirtualHost>\n"
        "Include httpd.conf\nInclude site.conf\nInclude later.conf\n";
    writeFile(root + "/httpd.conf", includes);
    const CapturedOutput output;
    const auto placedIn = [&](const std::string& text) {
        writeFile(file, text);
        return placed(file);
    };
    EXPECT_EQ(placedIn(before + "ServerRoot  \"" + root + "\"\n" + includes), "true 10.0.0.5");
    EXPECT_EQ(placedIn(before + "ServerRoot x" + root + "x\n" + includes), "true 10.0.0.5");
    EXPECT_EQ(placedIn("ServerRoot " + root + "\n" + includes), "false unchanged")
        << "lost its first letter";
    EXPECT_EQ(placedIn("ServerRoot \"/x\"\nInclude " + root + "/later.conf\n"), "false 10.0.0.6");

    // Without a server root, the usual places.
    EXPECT_EQ(placedIn(before + includes), "false unchanged");
    EXPECT_EQ(fs::current_path(), "/mnt");
    fs::create_directory_symlink(root, "/etc/apache");
    EXPECT_EQ(placedIn(before + includes), "true 10.0.0.5");
    EXPECT_EQ(fs::current_path(), fs::canonical(root));
    fs::create_directories("/etc/httpd");
    EXPECT_EQ(placedIn(before + includes), "false unchanged");
    EXPECT_EQ(fs::current_path(), "/etc/httpd");
}
