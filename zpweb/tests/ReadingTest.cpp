// Readings of what a real server has printed, and the judgement of two of them.
#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <sys/socket.h>

#include <algorithm>
#include <chrono>
#include <thread>

#include "server/BlockPostconditions.h"
#include "server/DirectoryOptions.h"
#include "server/DirectoryRules.h"
#include "server/Generation.h"
#include "server/Judge.h"
#include "server/Postconditions.h"
#include "sys/Connection.h"
#include "sys/File.h"
#include "sys/Number.h"
#include "sys/Process.h"
#include "sys/ProcessTable.h"

namespace zpweb {
namespace {

std::string printed() {
    auto text = readFile(ZPWEB_TEST_READINGS "/mixed.txt");
    return text.ok() ? *text : "";
}

std::string with(const std::string& text, const std::string& part, const std::string& other) {
    const size_t at = text.find(part);
    EXPECT_NE(at, std::string::npos) << part;
    return at == std::string::npos ? text : std::string(text).replace(at, part.size(), other);
}

// What the server answered to requests for these names, on the addresses of the same configuration.
TEST(Reading, KnowsWhichBlockAnswers) {
    struct Case {
        const char *name, *endpoint, *root;
    };
    const Reading reading = Reading::parse(printed());
    for (const Case& each : std::initializer_list<Case>{
             {"star80", "127.0.0.1:8080", "Loc80"},  // an address that a block names goes before "*"
             {"LOC80B", "127.0.0.1:8080", "loc80b"},
             {"six", "127.0.0.1:8080", "Loc80"},
             {"z.wild", "127.0.0.1:8080", "Loc80"},
             {"nobody", "127.0.0.2:8080", "loc80b"},
             {"two80", "127.0.0.2:8080", "two80"},
             {"q.wild", "127.0.0.3:8080", "star80"},
             {"a.q.wild", "127.0.0.3:8080", "star80"},
             {"x.wild", "127.0.0.3:8080", "star80"},  // the first block, though by a pattern
             {"abc", "127.0.0.3:8080", "star80"},
             {"abbc", "127.0.0.3:8080", "unnamed"},
             {"only.late", "127.0.0.3:8080", "late"},
             {"front.example", "127.0.0.3:8080", "unnamed"},  // inherited by the block without a name
             {"six", "127.0.0.3:8080", "six"},                // [::] is every address
             {"starany", "127.0.0.3:8080", "unnamed"},        // a port goes before every port
             {"starany", "127.0.0.3:9", "starany"},
             {"mac.example", "127.0.0.1:8083", "locany"},  // and an address before a port
             {"star80", "127.0.0.1:8082", "locany"},
             {"star80", "[::1]:8080", "sixone"},
         }) {
        const VirtualHost* host = reading.leadsTo(each.name, endpointOf(each.endpoint));
        ASSERT_NE(host, nullptr) << each.name;
        const std::string root = reading.valueIn(host->directive, "DocumentRoot");
        EXPECT_TRUE(root.ends_with(std::string("/") + each.root)) << each.name << each.endpoint << root;
    }
    EXPECT_EQ(reading.leadsTo("x", endpointOf("127.0.0.3:8084"))->names.name, "starany");
    const Reading wild = Reading::parse(
        with(printed(), "  ServerName six\n",
             "  DocumentRoot /not/the/last\n  ServerName six\n  #  67:\n  ServerAlias ab* *.late\n"));
    EXPECT_TRUE(wild.valueIn(wild.hostsOf("six").front()->directive, "DocumentRoot").ends_with("/six"));
    EXPECT_EQ(wild.leadsTo("abc", endpointOf("127.0.0.3:8080"))->names.name, "star80")
        << "the first pattern";
    EXPECT_EQ(wild.leadsTo("only.late", endpointOf("127.0.0.3:8080"))->names.name, "late")
        << "the first block, though by a pattern behind";
    const Reading v6 = Reading::parse(with(printed(), "[::1]:8080 ", "[::1]:8083 "));
    EXPECT_EQ(v6.endpoints().back().text(), "[::1]:8084") << "0.0.0.0 is no address of IPv6";
    EXPECT_EQ(std::count(v6.endpoints().begin(), v6.endpoints().end(), endpointOf("[::1]:8083")), 0);
    std::string listeners;
    for (const Endpoint& endpoint : reading.endpoints()) {
        listeners += endpoint.text() + " ";
    }
    EXPECT_EQ(listeners,
              "*:8080 *:8083 127.0.0.1:8080 127.0.0.1:8082 127.0.0.1:8083 127.0.0.2:8080 "
              "127.0.0.2:8083 [::1]:8080 [::1]:8084 ");
}

TEST(Reading, KnowsWhereThingsStand) {
    const Reading reading = Reading::parse(printed());
    const VirtualHost* host = reading.hostsOf("mac2.example").front();
    EXPECT_EQ(reading.originOf(*host).text(), "/etc/httpd/httpd.conf:22");
    EXPECT_TRUE(reading.originOf(*host).fromMacro);
    const std::string used = "macro 'site' (defined on line 15 of \"/etc/httpd/httpd.conf\") used on line ";
    const std::string inner =
        used + "2 of \"macro 'outer' (defined on line 9 of \"/b.conf\") used on line 22";
    const Reading nested = Reading::parse(with(with(printed(), "(" + used + "22", "(" + inner),
                                               "In file: " + used + "22", "In file: " + inner));
    EXPECT_EQ(nested.originOf(*nested.hostsOf("mac2.example").front()).text(), "/etc/httpd/httpd.conf:22");
    EXPECT_EQ(reading.valueIn(Directive::None, "DirectoryIndex"), "a");  // its condition is met
    EXPECT_EQ(argumentsIn(R"( one "two words" 'th"ree' \\four "a\"b" )"),
              (std::vector<std::string>{"one", "two words", "th\"ree", "\\four", "a\"b"}));
    const Reading map = Reading::parse(printed().substr(0, printed().find("# In file")));
    EXPECT_FALSE(map.complete());
    EXPECT_EQ(map.leadsTo("late", endpointOf("127.0.0.3:8080"))->names.name, "late");
}

// Each change stands for what a faulty command could do; the judge must see it without the command's help.
TEST(Judge, SeesWhatNobodyAskedFor) {
    struct Case {
        const char* part = nullptr;  // of what the server prints
        const char* changed = nullptr;
        Asked asked;
        const char* says = nullptr;
    };
    const Asked late{.sites = {"late"}};
    const std::string before = printed();
    for (const Case& each : std::initializer_list<Case>{
             {"  DocumentRoot /srv/late\n", "  DocumentRoot /srv/other\n", late, ""},
             {"  DocumentRoot /srv/late\n</VirtualHost>\n",
              "</VirtualHost>\n#  99:\nDocumentRoot /srv/late\n", late,
              "httpd.conf:99 (DocumentRoot /srv/late)"},
             {"  DocumentRoot /srv/two80\n", "  DocumentRoot /srv/other\n", late,
              "<VirtualHost 127.0.0.2:8080>"},
             {"  DocumentRoot /srv/two80\n", "  ServerAdmin /srv/two80\n", late,
              "<VirtualHost 127.0.0.2:8080>"},
             {"  #  54:\n  DocumentRoot /srv/late\n",  // the same lines, of which one is in the other now
              "    #  54:\n    DocumentRoot /srv/late\n  </Directory>\n",
              {.sites = {"two80"}},
              "<VirtualHost *:8080>"},
             {"  DocumentRoot /srv/two80\n", "", {.everything = true}, ""},
             {"<Directory />", "<Directory /srv>", late, "<Directory /srv>"},
             {"  Require all granted", "  Require all denied", late, "<Directory />"},
             {"Listen 8080\n", "Listen 8080\n#  98:\nListen 81\n", late, "(Listen 81)"},
             {"Listen 8080\n",
              "Listen 8080\n#  98:\nListen 81\n",
              {.sites = {"late"}, .serverDirectives = {"listen"}},
              ""},
             // a name is lost on one of its listeners, though its own site was asked for
             {"                 alias only.late\n", "", late, ""},
             {"  ServerAlias only.late\n",
              "",
              {.sites = {"late"}, .names = {"late"}},
              "only.late on *:8080: from late at"},
             {"  ServerAlias only.late\n", "", {.sites = {"late"}, .names = {"only.late"}}, ""},
             {"  ServerName late\n",
              "  ServerName other\n",
              {.sites = {"other"}},
              "late on *:8080: from late at"},
             {"  ServerAlias only.late\n", "", {.sites = {"late"}, .moving = {"late"}}, ""},
             // one that others lose
             {"  ServerAlias *.wild a?c\n",
              "  ServerAlias l*\n",
              {.everything = true,
              .released =
                   [] {
                       return std::set<Led>{{"star80", "late", "*:8080"}};
                   }},
              "late on *:8080: from late at"},
             {"  ServerAlias *.wild a?c\n",
              "  ServerAlias a?c\n",
              {.everything = true},
              "*.wild on *:8080"},
             {"#  75:\nDirectoryIndex a\n", "", late, "(DirectoryIndex a)"},
             {"DirectoryIndex a\n", "DirectoryIndex a\n#  76:\nTimeout 5\n", late, "(Timeout 5)"},
             {"*:8083                 is",
              "127.0.0.9:8083         is",
              {.everything = true},
              "mac.example on *:8083"},
             {"\nListen 8080\n", "\nListen 8090\n", {.everything = true}, "to nothing (no Listen)"},
             {"  ServerAlias only.late\n",
              "",
              {.sites = {"late"}, .within = {{"late", {"documentroot"}}}, .moving = {"late"}},
              "also change late at"},
         }) {
        const Reading live = Reading::parse(before);
        const Reading staged = Reading::parse(with(before, each.part, each.changed));
        const Judgement judgement = judge(&live, staged, each.asked, {}, false);
        EXPECT_EQ(judgement.outcome.ok(), *each.says == '\0') << each.changed << judgement.outcome.message;
        EXPECT_NE(judgement.outcome.message.find(each.says), std::string::npos)
            << judgement.outcome.message;
    }
}

// What a site answers with is its owner's: plain, or the beginning of a record of TLS.
class Dripping : public testing::TestWithParam<std::string_view> {};
INSTANTIATE_TEST_SUITE_P(All, Dripping, testing::Values("x", "\x16\x03\x03@"));

TEST_P(Dripping, IsNotWaitedForToItsEnd) {
    using namespace std::chrono_literals;
    sockaddr_in at{
        .sin_family = AF_INET, .sin_port = 0, .sin_addr = {htonl(INADDR_LOOPBACK)}, .sin_zero = {}};
    socklen_t size = sizeof at;
    const Descriptor server(::socket(AF_INET, SOCK_STREAM, 0));
    ASSERT_EQ(::bind(server.number(), reinterpret_cast<sockaddr*>(&at), size), 0);
    ASSERT_EQ(::listen(server.number(), 1), 0);
    ASSERT_EQ(::getsockname(server.number(), reinterpret_cast<sockaddr*>(&at), &size), 0);
    std::thread drip([&server] {
        const Descriptor peer(::accept(server.number(), nullptr, nullptr));
        const std::string text = std::string(GetParam()) + std::string(100, 'x');
        for (size_t i = 0; i < 100 && ::send(peer.number(), &text[i], 1, MSG_NOSIGNAL) == 1; ++i) {
            std::this_thread::sleep_for(50ms);
        }
    });
    const auto begun = std::chrono::steady_clock::now();
    auto connection = Connection::to({"127.0.0.1", ntohs(at.sin_port), "", 300ms});
    ASSERT_TRUE(connection.ok());
    EXPECT_FALSE(GetParam() == "x" ? connection->receive(1000).empty() : connection->startTls("").ok());
    EXPECT_LT(std::chrono::steady_clock::now() - begun, 3s);
    connection = failure("closed");
    drip.join();
}

// A control script's server is a process of its own.
TEST(Running, EndsInTimeWithAllThatItHasStarted) {
    using namespace std::chrono_literals;
    const auto ended = Running({"/bin/sh", "-c", "sleep 1000 & echo $!; wait"}, 300ms).end();
    EXPECT_EQ(ended.status, -1);
    const pid_t child = leadingNumber(ended.output);
    for (int i = 0; i < 100 && isAlive(child); ++i) {
        std::this_thread::sleep_for(10ms);
    }
    EXPECT_FALSE(isAlive(child));
    EXPECT_EQ(runProgram({"sleep", "1000"}, {}, 300ms).status, -1);
}

// The first redirection is the one that answers; a port is the one that is asked about and no longer one.
TEST(Postconditions, SeeWhatASuspendedSiteAnswers) {
    const std::pair<const char*, bool> table[] = {{"  Redirect 503 /\n", true},
                                                  {"  Redirect 301 / http://b/\n  Redirect 503 /\n", false},
                                                  {"  Redirect 503 /x\n", false},
                                                  {"", false}};
    for (const auto& [lines, holds] : table) {
        const Reading reading = Reading::parse(
            "VirtualHost configuration:\n*:80  a (/a.conf:9)\n*:8080  a (/a.conf:12)\n# In file: /a.conf\n"
            "#   1:\nListen 80\n#   9:\n<VirtualHost *:80>\n  ServerName a\n" +
            std::string(lines) +
            "</VirtualHost>\n#  12:\n<VirtualHost *:8080>\n  ServerName a\n</VirtualHost>\n");
        EXPECT_EQ(isSuspended({"a", "80"})(reading).ok(), holds) << lines;
        EXPECT_FALSE(isSuspended({"a"})(reading).ok()) << lines;
        EXPECT_TRUE(servesNothing({"b"})(reading).ok() && leadsThereNoMore("b", {"a"})(reading).ok());
        EXPECT_FALSE(servesNothing({"a"})(reading).ok() || leadsThereNoMore("a", {"a"})(reading).ok());
    }
}

// A directory whose section keeps all but one out, and what may let others in all the same.
TEST(Postconditions, SeeWhatLetsOthersIn) {
    struct Case {
        const char *server = "", *own = "",
                   *behind = "";  // at the server's level, in the section, behind it
        bool holds = false;
        const char* says = "Require all granted";
    };
    const auto section = [](const std::string& tag, const std::string& says) {
        return "  <" + tag + ">\n    " + says + "\n  </" + tag.substr(0, tag.find(' ')) + ">\n";
    };
    for (const Case& each : std::initializer_list<Case>{
             {"", "", "", true},
             {"", "    Require all granted\n", "", false},
             {"", "    AuthMerging Or\n", "", false},
             {"", "", "Location /", false},
             {"", "", "Location /in", false},
             {"", "", "Location /i", true},
             {"", "", "Location /in/open", true},
             {"", "", "LocationMatch ^/i", false},
             {"", "", "LocationMatch ^/o", true},
             {"", "", "DirectoryMatch /in/", false},
             {"", "", "Directory ~ /out", true},
             {"", "", "Directory /srv/in", false},
             {"", "", "Directory /srv/in/deeper", true},
             {"", "", "Directory /srv/i", true, "Satisfy Any"},
             {"", "", "Files *", false},
             {"", "", "Files robots.txt", true},
             {"", "", "If true", false},
             {"", "", "Location /", false, "Require valid-user"},
             {"", "", "Location /", false, "<Limit GET>\n    Require ip 10\n    </Limit>"},
             {"", "", "Location /", false, "Satisfy Any"},
             {"", "", "Location /in", false, "ProxyPass http://127.0.0.1:1/"},
             {"", "", "Location /i", true, "ProxyPass http://127.0.0.1:1/"},
             {"", "", "Location /", true, "Require all denied"},
             {"", "", "Location /", true, "AuthMerging And\n    Require all granted"},
             {"", "    <Limit POST>\n      Require all granted\n    </Limit>\n", "", false},
             {"", "    <LimitExcept GET>\n      Require all denied\n    </LimitExcept>\n", "", true},
             {"", "    <LimitExcept GET>\n      Require all granted\n    </LimitExcept>\n", "", false},
             {"  Satisfy Any\n", "", "", false},
             {"  Require all granted\n", "", "", true},
         }) {
        const Reading reading = Reading::parse(
            "VirtualHost configuration:\n*:80  a (/a.conf:9)\n# In file: /a.conf\n#   1:\nListen "
            "80\n<Directory />\n  AllowOverride All\n" +
            std::string(each.server) +
            "</Directory>\n#   5:\n<VirtualHost *:81>\n  DocumentRoot /srv\n</VirtualHost>\n"
            "#   9:\n<VirtualHost *:80>\n  ServerName a\n  DocumentRoot /srv\n"
            "  <Directory \"/srv/in/\">\n    Require ip 10.1.2.3\n" +
            each.own + "  </Directory>\n" + (*each.behind == '\0' ? "" : section(each.behind, each.says)) +
            "</VirtualHost>\n");
        const Outcome outcome = isRestricted({"a"}, "/srv/in", {{"Require ip 10.1.2.3"}})(reading);
        EXPECT_EQ(outcome.ok(), each.holds)
            << each.server << each.own << each.behind << each.says << outcome.message;
        // The directory's own sections come before its .htaccess file.
        if (*each.own == '\0' && !std::string_view(each.behind).starts_with("Directory /")) {
            EXPECT_EQ(heedsAccessFile("/srv/in")(reading).ok(), each.holds) << each.behind << each.says;
        }
    }
}

// Whoever may come in by any of the paths that lead to the directory is let in.
TEST(Postconditions, KnowEveryPathThatLeadsToADirectory) {
    struct Case {
        const char *server = "", *own = "", *location = "";  // which lets everybody in
        bool holds = false;
    };
    for (const Case& each : std::initializer_list<Case>{
             {"DocumentRoot /srv", "", "/in"},
             {"DocumentRoot /srv", "DocumentRoot /else", "/in", true},
             {"", "Alias / /srv/", "/in"},
             {"", "Alias /pub/ /", "/pub/srv/in"},
             {"DocumentRoot /srv", "Alias /pub /srv/in", "/in"},
             {"Alias /pub /srv/in", "DocumentRoot /srv", "/pub"},
             {"", "ScriptAlias /pub/ /srv/in/", "/pub"},
             {"", "AliasMatch ^/ps?/(.*) /srv/$1", "/p"},
             {"", "AliasMatch ^/p(.*) /else/$1", "/p", true},
             {"<Location /in>\n  ProxyPass http://127.0.0.1:1/\n</Location>", "DocumentRoot /srv", "/x"},
             {"<Location /in>\n  ProxyPass http://127.0.0.1:1/\n</Location>",
              "Alias /pub /srv/in\n  DocumentRoot /srv", "/x"},
             {"<Location /i>\n  ProxyPass http://127.0.0.1:1/\n</Location>", "DocumentRoot /srv", "/x",
              true},
             {"",
              "RewriteEngine On\n  RewriteRule ^/in - [F]\n  RewriteRule ^/ http://127.0.0.1:1/ [P]\n  "
              "DocumentRoot /srv",
              "/x", true},
             {"",
              "RewriteEngine On\n  RewriteCond %{REQUEST_URI} =/no [OR]\n  RewriteCond %{REQUEST_URI} "
              "^/in\n  RewriteRule ^ http://127.0.0.1:1/ [P]\n  DocumentRoot /srv",
              "/x"},
             {"",
              "RewriteEngine On\n  RewriteCond %{REQUEST_URI} =/no\n  RewriteCond %{REQUEST_URI} "
              "^/in\n  RewriteRule ^ http://127.0.0.1:1/ [P]\n  DocumentRoot /srv",
              "/x", true},
         }) {
        const Reading reading = Reading::parse(
            "VirtualHost configuration:\n*:80  a (/a.conf:9)\n# In file: /a.conf\n#   1:\nListen 80\n" +
            std::string(each.server) + "\n<Directory />\n  AllowOverride All\n</Directory>\n#   9:\n" +
            "<VirtualHost *:80>\n  ServerName a\n  " + each.own +
            "\n  <Directory /srv/in>\n    Require ip 10.1.2.3\n  </Directory>\n  <Location " +
            each.location + ">\n    Require all granted\n  </Location>\n</VirtualHost>\n");
        const Outcome outcome = isRestricted({"a"}, "/srv/in", {{"Require ip 10.1.2.3"}})(reading);
        EXPECT_EQ(outcome.ok(), each.holds) << each.server << each.own << each.location << outcome.message;
        EXPECT_EQ(heedsAccessFile("/srv/in")(reading).ok(), each.holds) << each.server << each.own;
    }
}

// Of several sections for one directory the last one that has a directive counts.
TEST(Postconditions, SeeWhichSectionCounts) {
    struct Case {
        const char *later, *line;
        bool holds;
        const char* path;
    };
    for (const Case& each :
         std::initializer_list<Case>{{"Options +Includes", "Options +Indexes", true, "/srv/in"},
                                     {"Options Includes", "Options +Indexes", false, "/srv/in"},
                                     {"Options -Indexes", "Options +Indexes", false, "/srv/in"},
                                     {"AllowOverride None", "Options +Indexes", true, "/srv/in"},
                                     {"AllowOverride None", "AllowOverride All", false, "/srv/in"},
                                     {"AllowOverride AuthConfig", "AllowOverride All", false, "/srv/in"},
                                     {"AllowOverride None", "AllowOverride All", true, "/srv/i*"},
                                     {"Options None", "Options +Indexes", true, "/srv"}}) {
        const Reading reading = Reading::parse(
            "VirtualHost configuration:\n*:80  a (/a.conf:9)\n# In file: /a.conf\n#   1:\nListen 80\n"
            "#   9:\n<VirtualHost *:80>\n  ServerName a\n  DocumentRoot /srv/in\n  <Directory /srv/in/>\n"
            "    Options +Indexes\n    AllowOverride All\n  </Directory>\n  <Directory " +
            std::string(each.path) + ">\n    " + std::string(each.later) +
            "\n  </Directory>\n</VirtualHost>\n");
        const Outcome outcome = directoryHas({"a"}, "/srv/in", {each.line}, Holders::Some)(reading);
        EXPECT_EQ(outcome.ok(), each.holds) << each.later << outcome.message;
        const bool heeds = std::string_view(each.later) != "AllowOverride None";
        EXPECT_EQ(heedsAccessFile("/srv/in")(reading).ok(), heeds) << each.later;
        EXPECT_FALSE(inEffect({"a"}, "ServerSignature", "Off")(reading).ok());
        const bool lists = each.holds || std::string_view(each.line) == "AllowOverride All";
        EXPECT_EQ(optionsHoldAtRoot({"a"}, "+Indexes")(reading).ok(), lists) << each.later;
    }
}

// A further process alone may have been made by the old generation, or write logs.
TEST(Generation, HasComeWhenItHasProcessesOfItsOwn) {
    using Looks = std::vector<Generation>;
    const Generation::Written before{7, 100, 5}, after{8, 100, 5}, later{7, 100, 6};
    const struct {
        Looks looks;
        int comes;  // at which look; -1 for none
    } cases[] = {
        {{{{1, 2}, before}, {{1, 2}, after}, {{2, 3}, after}}, 2},
        {{{{1, 2}, after}, {{1, 2, 3}, after}}, 1},
        {{{{1, 3}, later}}, 0},
        {{{{1, 2, 3}, before}, {{2, 3}, after}, {{2, 3, 4}, after}}, 2},
        {{{{1, 2, 3}, before}, {{1, 2, 3}, std::nullopt}, {{3}, before}}, -1},
    };
    for (const auto& [looks, comes] : cases) {
        Succession succession({{1, 2}, before});
        int come = -1;
        for (size_t i = 0; i < looks.size() && come < 0; ++i) {
            come = succession.hasCome(looks[i], Succession::Time()) ? static_cast<int>(i) : -1;
        }
        EXPECT_EQ(come, comes);
    }
    // One that keeps its file as it is.
    Succession succession({{1, 2}, before});
    EXPECT_FALSE(succession.hasCome({{2, 3}, before}, Succession::Time()));
    EXPECT_TRUE(succession.hasCome({{3}, before}, Succession::Time(std::chrono::seconds(15))));
}

}  // namespace
}  // namespace zpweb
