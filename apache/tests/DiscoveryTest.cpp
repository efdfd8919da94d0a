// What managers find out about the host and its web server.
#include <CZPWebsite.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>

#include "support/FakeTools.h"
#include "support/Files.h"
#include "support/Sandbox.h"
#include "support/Told.h"
#include "support/Watching.h"

using namespace zp::test;
namespace fs = std::filesystem;

namespace {

std::string written(const std::string& text) {
    std::string file = scratch("httpd.conf");
    writeFile(file, text);
    return file;
}

volatile std::sig_atomic_t signals = 0;

}  // namespace

TEST(ProductConfiguration, TheFirstLineThatBeginsWithTheKeyDecides) {
    const std::string long118 = "#" + std::string(117, 'x') + "\n";
    const std::pair<std::string, const char*> cases[] = {
        {"WebServerPort = \"81\"\n", "WebServerPort"},
        {"\n \t webserverPORT=\"81\" and \"82\"", "WebServerPort"},
        {"WebServerPort=81\nWebServerPort=\"82\"\n", "WebServerPort"},
        {"WebServerPort=\"81\nWebServerPort=\"82\"\n", "WebServerPort"},
        {"PHPHandler=\"dso\"\nPHP=\"5\"\n", "PHP"},
        {"SUexecSetting=\"\"\n", "SUexecSetting"},
        {"\"quoted\" Port=\"81\"\n", "Port"},
        {"WebServerPort=\"81\"\n", ""},
        {"WebServerPort=\"81\"\n", "Port"},
        {long118 + "Port=\"81\"\n", "Port"},
        {"#" + long118 + "Port=\"81\"\n", "Port"},
        {"Port=\"" + std::string(112, '1') + "\"\n", "Port"},
        {"Port=\"" + std::string(112, '1') + "\"", "Port"},
    };
    std::string told;
    for (const auto& [text, key] : cases) {
        std::string value = "untouched";
        const int found = getParamFromZPConfFile(written(text), value, key);
        told += std::string(key) + ": " + std::to_string(found) + " " + value + "\n" + printedLines(text);
    }
    expectTold(told, R"(WebServerPort: 1 81
> WebServerPort = "81"
WebServerPort: 1 81
> 
>  	 webserverPORT="81" and "82" (no newline)
WebServerPort: 0 untouched
> WebServerPort=81
> WebServerPort="82"
WebServerPort: 0 untouched
> WebServerPort="81
> WebServerPort="82"
PHP: 1 dso
> PHPHandler="dso"
> PHP="5"
SUexecSetting: 1 
> SUexecSetting=""
Port: 0 untouched
> "quoted" Port="81"
: 0 untouched
> WebServerPort="81"
Port: 0 untouched
> WebServerPort="81"
Port: 1 81
> #{117x}
> Port="81"
Port: 0 untouched
> ##{117x}
> Port="81"
Port: 0 untouched
> Port="{1121}"
Port: 0 untouched
> Port="{1121}" (no newline))");
    std::string value = "untouched";
    EXPECT_EQ(getParamFromZPConfFile(scratch("missing"), value, "Port"), 0);
    EXPECT_EQ(value, "untouched");
}

TEST(ApacheVersion, IsWhatTheFirstToolWithAnAnswerTells) {
    const char* const programs[] = {"apachectl", "httpd", "apache2"};
    const char* const answers[][3] = {
        // null: not installed
        {"Server version: Apache/2.4.6 (CentOS)\nServer built: /9.9.9 \n"},
        {nullptr, "Server version: Apache/2.2.15 (Unix)\r\n"},
        {"no\n", "1234\n", "Apache/2.4.57 x"},
        {},
        {"four\n", "five5\n", "Apache/2.4.57 x"},
        {"12345\n", "Apache/2.4.57 x"},
        {"Apache/2.4.57\n"},
        {"Apache 2.4.57 x\n"},
        {"Apache/2 x\n"},
        {"Apache/2.4 x\n"},
        {"Apache/2.4. x\n"},
        {"Apache/2.4.1-dev x\n"},
    };
    std::string told;
    for (const auto& answersOfHost : answers) {
        fs::remove_all(scratch("tools"));
        const FakeTools tools;
        for (size_t i = 0; i < std::size(programs); ++i) {
            const char* answer = answersOfHost[i];
            answer == nullptr ? tools.replace(programs[i], "exit 127") : tools.answer(programs[i], answer);
        }
        int major = 0, minor = 0, minorMinor = 0;
        const CapturedOutput output;
        getApacheVersion(major, minor, minorMinor);
        EXPECT_EQ(output.text(), "major=" + std::to_string(major) + "\nminor=" + std::to_string(minor) +
                                     "\nminorMinor=" + std::to_string(minorMinor) + "\n");
        for (const std::string& call : tools.calls()) {
            told += call + ", ";
        }
        told +=
            std::to_string(major) + " " + std::to_string(minor) + " " + std::to_string(minorMinor) + "\n";
    }
    expectTold(told, R"(apachectl -v, 2 4 6
apachectl -v, httpd -v, 2 2 15
apachectl -v, httpd -v, apache2 -v, 2 4 57
apachectl -v, httpd -v, apache2 -v, -1 -1 -1
apachectl -v, httpd -v, -1 -1 -1
apachectl -v, -1 -1 -1
apachectl -v, -1 -1 -1
apachectl -v, -1 -1 -1
apachectl -v, -1 -1 -1
apachectl -v, 2 -1 -1
apachectl -v, 2 4 -1
apachectl -v, 2 4 1)");
}

TEST(ApacheServerRoot, IsTheConfigurationsOrTheServersOwn) {
    const char* compiled = "Server's -D list\n -D HTTPD_ROOT=\"/opt/apache\"\n -D SUEXEC_BIN=\"/x\"\n";
    const std::string named = "ServerRoot \"/etc/httpd\"\n";
    const std::pair<std::string, const char*> cases[] = {
        {"# ServerRoot \"/no\"\nListen 80\nSERVERROOT\t\"/etc/httpd\" \"/x\"\n", compiled},
        {" " + named, compiled},
        {"ServerRoot /etc/httpd\nServerRoot \"/etc/two\"\n", compiled},
        {"", compiled},
        {"", "nothing\n"},
        {"", " -D HTTPD_ROOT=/opt/bare\n"},
        {"", " -D HTTPD_ROOT=\"/a/path/that/is/longer/than/the/49/characters/read\"\n"},
        {std::string(2998, 'x') + "\n" + named, compiled},
        {std::string(2999, 'x') + "\n" + named, compiled},
    };
    const FakeTools tools;
    std::string told;
    for (const auto& [configuration, server] : cases) {
        tools.answer("apachectl", server);
        told +=
            CZPWebsite().getApacheServerRoot(written(configuration)) + "\n" + printedLines(configuration);
    }
    expectTold(told, R"(/etc/httpd
> # ServerRoot "/no"
> Listen 80
> SERVERROOT	"/etc/httpd" "/x"
/opt/apache
>  ServerRoot "/etc/httpd"
/opt/apache
> ServerRoot /etc/httpd
> ServerRoot "/etc/two"
/opt/apache

/opt/bare
/a/path/that/is/longer/than/the
/etc/httpd
> {2998x}
> ServerRoot "/etc/httpd"
/opt/apache
> {2999x}
> ServerRoot "/etc/httpd")");
    EXPECT_EQ(tools.calls().back(), "apachectl -V");
    EXPECT_EQ(CZPWebsite().getApacheServerRoot(scratch("missing")), "/opt/apache");
}

TEST(ApachePidFile, IsFoundByItsName) {
    fs::create_directories("/var/run/apache2");  // a directory is no PID file
    EXPECT_EQ(CZPWebsite().getApachePIDFilePath(), "");
    writeFile("/var/run/httpd/httpd.pid", "1");
    EXPECT_EQ(CZPWebsite().getApachePIDFilePath(), "/var/run/httpd/httpd.pid");
    writeFile("/var/run/my-httpd.pid", "1");
    EXPECT_EQ(CZPWebsite().getApachePIDFilePath(), "/var/run/my-httpd.pid");
    writeFile("/var/run/xapache.pid", "1");
    EXPECT_EQ(CZPWebsite().getApachePIDFilePath(), "/var/run/xapache.pid");
}

TEST(ApacheServiceScript, IsFoundByItsExactName) {
    fs::remove_all("/etc/init.d");
    EXPECT_EQ(CZPWebsite().getApacheServicePath(), "");
    writeFile("/etc/init.d/apache3", "");
    fs::create_directories("/etc/init.d/apache2");
    EXPECT_EQ(CZPWebsite().getApacheServicePath(), "");
    for (const char* name : {"apache", "apache2", "httpd", "httpd2"}) {
        fs::remove_all(std::string("/etc/init.d/") + name);
        writeFile(std::string("/etc/init.d/") + name, "");
        EXPECT_EQ(CZPWebsite().getApacheServicePath(), std::string("/etc/init.d/") + name);
        fs::remove(std::string("/etc/init.d/") + name);
    }
}

TEST(ApacheModulesFolder, IsThatOfTheFirstModuleOrTheFirstKnownOne) {
    const std::pair<const char*, const char*> configured[] = {
        {"#LoadModule no_module /no/no.so\nLoadModule a_module /opt/m/a.so\nLoadModule b_module /x/b.so\n",
         "/opt/m"},
        {"ServerRoot \"/etc/httpd\"\n loadmodule\ta_module\tmodules/a.so\n", "/etc/httpd/modules"},
        {"LoadModule a_module \"/opt/m 2/a.so\"\n", "/opt/m 2"},
    };
    for (const auto& [text, folder] : configured) {
        EXPECT_EQ(CZPWebsite().getApacheModulesDir(written(text)), folder);
    }
    const std::string none = written("Listen 80\n");
    for (const char* folder :
         {"/usr/lib64/apache2", "/usr/lib64/httpd", "/usr/lib/apache2", "/usr/lib/httpd"}) {
        fs::remove_all(folder);
    }
    EXPECT_EQ(CZPWebsite().getApacheModulesDir(none), "");
    for (const char* folder : {"/usr/lib64/apache2/modules", "/usr/lib64/httpd/modules",
                               "/usr/lib/apache2/modules", "/usr/lib/httpd/modules"}) {
        fs::create_directories(folder);
        EXPECT_EQ(CZPWebsite().getApacheModulesDir(none), folder);
    }
}

TEST(ApacheUserAndGroup, AreResolvedThroughTheEnvironmentFile) {
    writeFile("/etc/apache2/envvars",
              "unset HOME\n# export RUN_USER=wrong\nXRUN_USER=wrong\nexport RUN_USER=www-data\n "
              "RUN_GROUP=\"web group\"\n");
    const std::string reference = "User ${RUN_USER}\nGroup ${RUN_GROUP}\n";
    std::string told;
    const auto ask = [&](const std::string& text) {
        std::string user;
        std::string group;
        const CapturedOutput output;
        const int result = CZPWebsite().getApacheUserGroup(written(text), user, group);
        told += std::to_string(result) + " " + user + "|" + group + "\n" + printedLines(output.text());
    };
    ask("User apache\nGroup web\n");
    ask(reference);
    ask("<VirtualHost *>\nUser no\n</VirtualHost>\nGroup web\n");
    ask("User ${RUN_USER}\n");
    ask("User $RUN_USER\nGroup ${UNKNOWN}\n");
    fs::remove("/etc/apache2/envvars");
    ask(reference);
    expectTold(told, R"(0 apache|web
0 www-data|web group
1 |
> Apache user not found
2 ${RUN_USER}|
> Apache group not found
0 $RUN_USER|${UNKNOWN}
0 ${RUN_USER}|${RUN_GROUP}
> Error while opening file
> Error while opening file)");
}

TEST(PathOwner, IsTheFirstAccountWithItsNumber) {
    addAccount("first", 4321, 1);
    addAccount("second", 4321, 1);
    const std::string file = written("");
    EXPECT_EQ(GetPathOwner(file), "root");
    ASSERT_EQ(::chown(file.c_str(), 4321, 1), 0);
    EXPECT_EQ(GetPathOwner(file), "first");
    ASSERT_EQ(::chown(file.c_str(), 4322, 1), 0);
    EXPECT_EQ(GetPathOwner(file), "");
    EXPECT_EQ(GetPathOwner(scratch("missing")), "");
    fs::remove("/etc/passwd");
    EXPECT_EQ(GetPathOwner("/"), "");
}

TEST(GracefulRestart, SignalsTheProcessOfThePidFile) {
    std::signal(SIGUSR1, [](int) { signals = signals + 1; });
    const std::string self = std::to_string(::getpid());
    const std::pair<std::string, int> files[] = {
        {self, 0},       {"  " + self + "\nrest\n", 0}, {"0\n", 1}, {"-1\n", 1}, {"", 1}, {"x" + self, 1},
        {"4194305\n", 1}};
    int expected = 0;
    for (const auto& [text, result] : files) {
        EXPECT_EQ(CZPWebsite().CmdApchRestart(written(text).c_str()), result) << text;
        expected += result == 0 ? 1 : 0;
        EXPECT_EQ(signals, expected) << text;
    }
    EXPECT_EQ(CZPWebsite().CmdApchRestart(scratch("missing").c_str()), 1);
    EXPECT_EQ(CZPWebsite().CmdApchRestart(nullptr), 1);
    EXPECT_EQ(signals, expected);
    // "-NUMBER" would mean all of a group.
    const pid_t child = ::fork();
    if (child == 0) {
        ::pause();
        ::_exit(0);
    }
    ::setpgid(child, child);
    EXPECT_EQ(CZPWebsite().CmdApchRestart(written("-" + std::to_string(child)).c_str()), 1);
    ::kill(child, SIGKILL);
    ::waitpid(child, nullptr, 0);
}

TEST(CloudLinux, IsKnownByItsReleaseFileOrItsKernel) {
    const FakeTools tools;
    const std::pair<const char*, bool> kernels[] = {{"6.1.0-amd64\n", false},
                                                    {"2.6.32-458.18.1.lve1.2.44.el6\n", true},
                                                    {"2.6.32.LVE\n", false},
                                                    {"x\nlve\n", false}};
    for (const auto& [release, isCloudLinux] : kernels) {
        tools.answer("uname", release);
        EXPECT_EQ(CZPWebsite().ISCloudLinux(), isCloudLinux) << release;
    }
    EXPECT_EQ(tools.calls().back(), "uname -r");
    tools.replace("uname", "exit 1");
    EXPECT_FALSE(CZPWebsite().ISCloudLinux());
    writeFile("/etc/CloudLinux-release", "");
    EXPECT_TRUE(CZPWebsite().ISCloudLinux());
}

TEST(HighestLveId, IsTheLargestLiveOne) {
    const std::string longLine(100'000, 'x');
    const std::pair<std::string, int> files[] = {
        {"LVEId 1003\nLVEId 1010\n", 1010},
        {"  \t\tLVEId 1010\n\tLVEId 1003", 1010},
        {"  \t#LVEId 1010\n#LVEId 1010\nlveid 1020\n", 1000},
        {"", 1000},
        {"LVEId\t1005\n", 0},
        {"\t LVEId 1005\n", 0},  // the blank behind the tab is the first of the line
        {"SomeLVEId 1007 x\n", 1007},
        {longLine + "\nLVEId 1005\n", 1005},
    };
    for (const auto& [text, id] : files) {
        EXPECT_EQ(CZPWebsite().ExtractHighestLVEid(written(text)), id) << text.substr(0, 100);
    }
}
