// Shared and own addresses: which are in use, who stands at a shared one, and moving a site between them.
#include <CZPWebsite.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "support/FileCase.h"
#include "support/Files.h"
#include "support/Operations.h"
#include "support/Transcript.h"
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

const FileCase cases[] = {
    {"ToOwn", Shared, toOwn("10.0.0.5", "10.0.0.9")},
    {"ToOwnOfASiteThatIsNotThere", Shared, toOwn("10.0.0.6", "10.0.0.8")},
    {"ToOwnWhereTheSiteStandsAlready", block("10.0.0.9"), toOwn("10.0.0.9", "10.0.0.9")},
    {"ToOwnIPv6",
     "NameVirtualHost [2001:DB8::9]\nNameVirtualHost [2001:db8::9]:80\nNameVirtualHost 2001:db8::9\n" +
         block("[2001:DB8::5]:80") + block("[2001:db8::5") + block("2001:db8::5"),
     toOwn("2001:db8::5", "2001:db8::9")},
    {"ToOwnCutsAnAddressAtTheLastBracket", block("[::5]:80 [::6]:80"), toOwn("::5]:80 [::6", "::9")},
    {"ToOwnOfABlockThatIsNeverClosed",
     block("10.0.0.5", "\tServerName other.example\n") +
         "<VirtualHost 10.0.0.5:80>\nServerName example.com\n\nListen 1",
     toOwn("10.0.0.5", "10.0.0.9")},
    {"ToOwnKeepsAnotherBlockThatIsNeverClosed", "<VirtualHost 10.0.0.5:80>\nServerName\n\nListen 1\n",
     toOwn("10.0.0.5", "10.0.0.9")},
    {"ToSharedWithItsLineThere",
     block("10.0.0.5") + "NameVirtualHost 10.0.0.9:80 \nNameVirtualHost 10.0.0.9:*\n",
     toShared("10.0.0.5", "10.0.0.9")},
    {"ToSharedWithALineForAllPorts", "namevirtualhost 10.0.0.9:*\n" + block("10.0.0.5:80"),
     toShared("10.0.0.5", "10.0.0.9", "8080")},
    {"ToSharedAddsALineBeforeTheFirst", Shared, toShared("10.0.0.5", "10.0.0.8")},
    {"ToSharedAddsALineBeforeTheTenth", block("10.0.0.5") + "1\n2\n3\n4\n5\n6\n7\n8\n",
     toShared("10.0.0.5", "10.0.0.9")},
    {"ToSharedOfASecureSite",
     "NameVirtualHost 10.0.0.7\n" + block("10.0.0.5:80") + block("10.0.0.5:443", Secure),
     toShared("10.0.0.5", "10.0.0.9")},
    {"ToSharedOfASecureSiteWithItsLinesThere",
     "NameVirtualHost [::9]:443\nNameVirtualHost ::9:80\nNameVirtualHost [::9]:80\n" +
         block("[::5]", Secure),
     toShared("::5", "::9")},
    {"ToSharedLooksAtNoLineBehindTheOneForThePort",
     "NameVirtualHost [::A]:80\nNameVirtualHost [::a]:443\n" + block("[::5]", Secure),
     toShared("::5", "::a")},
    {"ToSharedOfASecureSiteWithALineForAllPorts",
     "NameVirtualHost 10.0.0.9:*\n" + block("10.0.0.5:443", Secure), toShared("10.0.0.5", "10.0.0.9")},
    {"ToSharedOnAnotherPort", block("10.0.0.5") + "NameVirtualHost 10.0.0.9:80\n",
     toShared("10.0.0.5", "10.0.0.9", "8080")},
    {"ToSharedOnAnotherPortWithItsLineThere", "NameVirtualHost 10.0.0.9:8080\n" + block("10.0.0.5"),
     toShared("10.0.0.5", "10.0.0.9", "8080")},
    {"ToSharedOfASiteThatIsNotThere", "\n" + block("10.0.0.5"), toShared("10.0.0.6", "10.0.0.9")},
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
INSTANTIATE_TEST_SUITE_P(Moves, Addressing, ::testing::ValuesIn(cases), byName);

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
    writeFile(
        file,
        "namevirtualhost  *:80 x\nNameVirtualHost 10.0.0.5\nNameVirtualHost 10.0.0.5:443\n"
        "\tNameVirtualHost [2001:db8::a]:80\nNameVirtualHost [::1\nNameVirtualHost [::2]:80 "
        "[::3]:80\n#NameVirtualHost 10.0.0.1\n"
        "<virtualhost *>\n<VirtualHost 1.0>\n<VirtualHost 10.0.0.6 10.0.0.7>\n<VirtualHost 10.0.0.6:1>\n"
        "<VirtualHost 10.0.0.5:80>\n<VirtualHost [2001:DB8::A]:80>\n<VirtualHost "
        "[2001:db8::B]:80>\n<VirtualHost [::4]:80 [::5]:80>\n"
        "<VirtualHost Host.example>\n<VirtualHost host.EXAMPLE>\n<VirtualHost 10.0.0.8>\n" +
            Long + "x\n<VirtualHost 10.0.0.10>\n");
    StringVector addresses{"10.0.0.8"};
    const CapturedOutput output;
    EXPECT_EQ(CZPWebsite(nullptr, file.c_str()).ListOccupiedIPs(&addresses), 28);
    expectTold("all", found(addresses) + "\n" + printedLines(output.text()));
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
