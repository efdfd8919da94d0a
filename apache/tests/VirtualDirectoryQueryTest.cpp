// What a configuration says of virtual directories and aliases. Nothing here changes it.
#include <gtest/gtest.h>

#include <filesystem>

#include "support/Files.h"
#include "support/Told.h"
#include "support/VirtualDirectories.h"

using namespace zp::test;

namespace {

constexpr const char* Scratch = "/etc/apactemp1";

std::string site(const std::string& inside, const std::string& name = "example.com") {
    return "<VirtualHost *:80>\n\tServerName " + name + "\n" + inside + "</VirtualHost>\n";
}
std::string block(const std::string& inside, const std::string& folder = "/home/files") {
    return "\t<Directory \"" + folder + "\">\n" + inside + "\t</Directory>\n";
}
std::string commentedOut(const std::string& text) {
    std::string out;
    for (size_t at = 0; at < text.size(); at = text.find('\n', at) + 1) {
        out += '#' + text.substr(at, text.find('\n', at) + 1 - at);
    }
    return out;
}
const std::string Long = "\tAlias /" + std::string(70'000, 'x') + " \"/x\"\n";

// Asks a manager whose configuration is this text.
template <class Ask>
int asking(const std::string& text, Ask ask) {
    const std::string file = scratch("httpd.conf");
    writeFile(file, text);
    CZPVirtualDirectory manager(nullptr, file.c_str());
    const int answer = static_cast<unsigned char>(ask(manager));
    EXPECT_EQ(readFile(file), text);
    return answer;
}

// The fields that the query fills; "." for 0.
std::string shown(const SDDir& record) {
    const SOptions& o = record.Options;
    std::string text = record.Order == 1 ? "order " : "";
    for (const char c : {o.Indexes, o.Includes, o.FollowSymLinks, o.MultiViews, o.ExecCGI,
                         record.AnonAccess, record.PerlEnabled, record.RubyOnRails}) {
        text += c == 0 ? '.' : c;
    }
    return text + " allow=" + record.Allow + " deny=" + record.Deny;
}

std::string query(const std::string& text, const std::string& folder = "/home/files") {
    SDDir record = recordOf({.folder = folder});
    const int result =
        asking(text, [&](auto& manager) { return manager.GetVirtualDirectoryinfo(&record); });
    return result == 86 ? shown(record) : std::to_string(result);
}

int exists(const std::string& text) {
    SDDir record = recordOf({});
    return asking(text, [&](auto& manager) { return manager.VirtualDirectoryExists(&record); });
}

int checkAlias(const std::string& text, const std::string& name) {
    SDDir record = recordOf({.name = name});
    return asking(text, [&](auto& manager) { return manager.CheckVirDir(&record); });
}

StringVector list(const std::string& text) {
    StringVector found;
    EXPECT_EQ(
        asking(text, [&](auto& manager) { return manager.VirtualDirectoryList("example.com", &found); }),
        0);
    return found;
}

std::string pathOf(const std::string& text, const std::string& name) {
    const std::string file = scratch("httpd.conf");
    writeFile(file, text);
    return CZPVirtualDirectory::GetVDPath(file, "example.com", name);
}

int required(const std::string& text) {
    return asking(text,
                  [](auto& manager) { return manager.DirectoryRequired("example.com", "/home/files"); });
}

}  // namespace

TEST(VirtualDirectoryQuery, ReadsTheBlock) {
    std::string told;
    for (const std::string inside :
         {"", "\t\tOptions +Indexes -Includes +ExecCGI -Indexes\n",
          "\t\toptions -MultiViews +FollowSymLinksIfOwnerMatch\n",
          "\t\tOptions +Indexes\n\t\tOptions -Includes\n", "\t\tOptions +indexes Includes\n",
          "\t\tOrder Deny,Allow\n", "\t\tRequire all granted\n",
          "\t\tAllow from \"10.0.0.2 10.0.0.3\"\n\t\tDENY  from  \"10.0.0.1\n",
          "\t\tAllow from a.example\n\t\tDeny from all \n", "\t\tAllowOverride none\n",
          "\t\tAllow\n\t\tDeny\n",
          "\t\tauthtype basics\n\t\tADDHandler cgi-script CGI pl\n\t\tAddHandler fastcgi-script .fcgi\n",
          "\t\tAuthType Digest\n\t\tAddHandler cgi-script cgi pl \n\t\tAddHandler fastcgi-script .fcgi x\n",
          "#\t\tOptions +Indexes\n # Options +Includes\n",
          "\t\tOptions +Indexes\n\t</DirectoryX\n\t\tOptions +Includes\n"}) {
        told += inside +
                query(Long + site("DocumentRoot /x\n" + block(Long + inside, "/HOME/files")) +
                      site(block("Deny x"))) +
                "\n";
    }
    expectTold(told, R"(order ........ allow=All deny=
		Options +Indexes -Includes +ExecCGI -Indexes
order +-..+... allow=All deny=
		options -MultiViews +FollowSymLinksIfOwnerMatch
order ..+-.... allow=All deny=
		Options +Indexes
		Options -Includes
order .-...... allow=All deny=
		Options +indexes Includes
order ........ allow=All deny=
		Order Deny,Allow
order ........ allow=All deny=
		Require all granted
order ........ allow=All deny=
		Allow from "10.0.0.2 10.0.0.3"
		DENY  from  "10.0.0.1
order ........ allow=10.0.0.2 10.0.0.3 deny=10.0.0.1
		Allow from a.example
		Deny from all 
order ........ allow=a.example deny=all 
		AllowOverride none
order ........ allow=de none deny=
		Allow
		Deny
order ........ allow= deny=
		authtype basics
		ADDHandler cgi-script CGI pl
		AddHandler fastcgi-script .fcgi
order .....111 allow=All deny=
		AuthType Digest
		AddHandler cgi-script cgi pl 
		AddHandler fastcgi-script .fcgi x
order ........ allow=All deny=
#		Options +Indexes
 # Options +Includes
order ........ allow=All deny=
		Options +Indexes
	</DirectoryX
		Options +Includes
order +....... allow=All deny=)");
    EXPECT_TRUE(query(site(block("\t\tDeny from " + std::string(300, 'h') + "\n")))
                    .ends_with("deny=" + std::string(255, 'h')));
    EXPECT_EQ(query(site("\t<Directory \"/home/files\">\n\t\tOptions +Indexes")),
              "order +....... allow=All deny=");
    for (const std::string& text : {std::string(), site(""), site(block("", "/home/file")) + block(""),
                                    site(block(""), "other.example"), site("\t<Directory /home/files>\n"),
                                    "ServerName example.com\n" + block(""),
                                    site("ServerName example.com\n" + block(""), "other.example")}) {
        EXPECT_EQ(query(text), "........ allow= deny=") << text;
    }
}

TEST(VirtualDirectoryQuery, FindsAStoppedSiteButPassesOverItsLines) {
    const std::string stopped = commentedOut(site(block("\t\tOptions +Indexes\n")));
    EXPECT_EQ(query(stopped), "order ........ allow=All deny=");
    EXPECT_EQ(query("#" + stopped), "........ allow= deny=") << "one mark is stepped over";
}

TEST(VirtualDirectoryQuery, TellsTheModeOfTheFolder) {
    const std::string folder = scratch("folder");
    std::filesystem::create_directories(folder);
    std::filesystem::permissions(folder, std::filesystem::perms(0750));
    const std::pair<std::string, mode_t> folders[] = {{folder, 040750}, {"/absent", 0}};
    for (const auto& [path, expected] : folders) {
        SDDir record = recordOf({.folder = path});
        record.Permission = 0777;
        EXPECT_EQ(asking(site(""), [&](auto& m) { return m.GetVirtualDirectoryinfo(&record); }), 86);
        EXPECT_EQ(record.Permission, expected);
    }
}

TEST(VirtualDirectoryQuery, AMalformedLineTakesTheScratchFileAway) {
    const std::string oneQuote = site("\t<Directory \"/home>\n" + block(""));
    const std::function<int()> questions[] = {[&] { return std::stoi(query(oneQuote)); },
                                              [&] { return exists(oneQuote); },
                                              [] { return checkAlias(site("Alias /x\n"), "x"); }};
    for (const auto& question : questions) {
        writeFile(Scratch, "of another call");
        EXPECT_EQ(question(), 1);
        EXPECT_EQ(readFile(Scratch), NoFile);
    }
}

TEST(VirtualDirectoryExistence, GoesOnBehindTheBlockOfTheSite) {
    EXPECT_EQ(exists(site(block("", "/HOME/files"))), 1);
    EXPECT_EQ(exists(Long + site(Long) + block("")), 1);
    EXPECT_EQ(exists(""), 0);
    EXPECT_EQ(exists(block("") + site("") + site(block(""), "other.example")), 0);
    EXPECT_EQ(exists(site("ServerName example.com\n" + block(""), "other.example")), 0);
    EXPECT_EQ(exists(commentedOut(site(block("")))), 0);
    EXPECT_EQ(exists(site("<Directory /home/files>\n")), 0);
}

TEST(AliasQuery, ListsTargetsAndNames) {
    const std::string aliases =
        "\tAlias /one \"/home/one\"\n#\tAlias /no \"/no\"\n\talias\t/two  /home/t w o\n"
        "\tAlias /bare\n\tAlias /blank \n\tAlias\n\tAlias x \"/home/x\n\n";
    EXPECT_EQ(list(site("Alias /other \"/other\"\n", "other.example") + Long + site(aliases) +
                   "Alias /behind \"/behind\"\n" + site("Alias /three \"/3\" x", "EXAMPLE.com")),
              (StringVector{"/home/one", "one", "/home/t w o", "two", "/home/x", "", "/3", "three"}));
    EXPECT_EQ(list(""), StringVector{});
}

TEST(AliasQuery, IsAskedForAName) {
    const std::string text =
        site("Alias /one \"/home/one\"\n", "other.example") +
        site("#Alias /no \"/no\"\n\tAlias /Two \"/home/two\"\n\tAlias three /home/3\n") +
        "Alias /behind \"/home/behind\"\n";
    const std::tuple<const char*, int, std::string> names[] = {
        {"/Two", 88, "/home/two"},
        {"two", 125, ""},
        {"/two", 88, ""},
        {"/one", 88, ""},
        {"/behind", 88, "/home/behind"},
        {"behind", 125, ""},
        {"three", 88, "/home/3"},
        {"THREE /home/3", 125, ""},
        {"/no", 88, ""},
    };
    for (const auto& [name, found, path] : names) {
        EXPECT_EQ(checkAlias(text, name), found) << name;
        EXPECT_EQ(pathOf(text, name), path) << name;
    }
    EXPECT_EQ(pathOf(site("Alias /x\n\tAlias /x \"/home\"\n"), "/x"), "");
    EXPECT_EQ(pathOf(site("Alias /x \"/ho me\" y\n"), "/x"), "/ho me");
}

TEST(AliasQuery, CountsTheAliasesOfAFolder) {
    const std::string one = "\tAlias /one \"/HOME/files\"\n", bare = "\tAlias /two /home/files\n";
    EXPECT_EQ(required(site(one)), 0);
    EXPECT_EQ(required(site(one + Long + one)), 1);
    EXPECT_EQ(required(site(one) + one), 1);
    EXPECT_EQ(required(site(one) + site(one, "other.example") + site(one)), 1);
    EXPECT_EQ(required(site(one + "#" + one + bare + "\tAlias /three \"/home/files\" \n")), 0);
    EXPECT_EQ(required(site(one + "\tAliasMatch \"/home/files\"\n")), 1);
}
