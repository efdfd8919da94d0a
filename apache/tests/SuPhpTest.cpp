// suPHP: its installation, and its switches for the server and for a site. Debian ships no suPHP: what is
// tested is the files that are written and the commands that are run.
#include <CZPWebsite.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <ctime>
#include <filesystem>

#include "support/FakeTools.h"
#include "support/FileCase.h"
#include "support/Files.h"
#include "support/Operations.h"
#include "support/Sites.h"
#include "support/Text.h"
#include "support/Watching.h"

using namespace zp::test;

namespace {

using Calls = std::vector<std::string>;

int enableGlobally(const std::string& file) {
    return CZPWebsite(nullptr, file.c_str()).EnableSuPhpGlobally("mod_suphp");
}
int disableGlobally(const std::string& file) {
    return CZPWebsite(nullptr, file.c_str()).DisableSuPhpGlobally();
}
FileOperation enable(const std::string& domain = "example.com", const std::string& module = "mod_suphp") {
    return onFile(&CZPWebsite::EnableSuPhp, domain, module);
}
FileOperation disable(const std::string& domain = "example.com") {
    return onFile(&CZPWebsite::DisableSuPhp, domain, "mod_suphp");
}

const std::string Engine = "<IfModule mod_suphp.c>\n\tsuPHP_Engine On\n</IfModule>\n";
const std::string Loading = "Listen 80\n\n Include indented\nloadmodule a_module a.so\nInclude more\n";
const std::string Site = blockOf({});
const std::string Other = blockOf({.domain = "other.example"});

std::string inSite(const std::string& owner, const std::string& home) {
    return "\t<IfModule mod_suphp.c>\n\t\tsuPHP_Engine On\n\t\tAddType application/x-httpd-php   .php\n"
           "\t\tAddHandler x-httpd-php .php\n\t\tsuPHP_AddHandler x-httpd-php\n\t\tsuPHP_UserGroup " +
           owner + " zp7group\n" + (home.empty() ? "" : "\t\tSetEnv PHPRC " + home + "/setting_php\n") +
           "\t</IfModule>\n";
}
const std::string Log = "\tCustomLog /var/www/example.com/log/httpd/access_log combined\n";
// The home begins with the quote of the document root.
const std::string Block = inSite("siteadmin", "\"/var/www/example.com");

std::string withBlock(const std::string& site, const std::string& block = Block) {
    return with(withoutEmptyLines(site), Log, Log + block);
}
// A block of this many lines behind its first.
std::string longBlock(size_t lines_) {
    std::string text = "\t<IfModule mod_suphp.c>\n";
    while (lines_-- > 1) {
        text += "\t\t# more\n";
    }
    return text + "\t</IfModule>\n";
}

const FileCase suPhpCases[] = {
    // The engine is on for everything behind it.
    {"ServerGoesBeforeTheFirstLoading", Loading, enableGlobally, R"(0
4+<IfModule mod_suphp.c>
5+	suPHP_Engine On
6+</IfModule>)"},
    // A repeated request changes nothing.
    {"ServerStaysOn", "  suPHP_engine  oN\n", enableGlobally, "0"},
    // Every line that turns it off is replaced.
    {"ServerIsTurnedOn", "\nsuPHP_Engine Off\n\tsuPHP_Engine Off\nsuphp_engineX\n", enableGlobally, R"(0
2-suPHP_Engine Off
2,6+<IfModule mod_suphp.c>
3,7+	suPHP_Engine On
4,8+</IfModule>
4-suphp_engineX)"},
    // No place, no change.
    {"ServerWithoutLoadingStaysAsItIs", "\nListen 80\n", enableGlobally, "0"},
    // The block is known again.
    {"ServerIsTurnedOnTwice", with(Loading, "loadmodule", Engine + "loadmodule"), enableGlobally, "0"},
    // Nothing may name a module that is no longer loaded.
    {"ServerGoesWithItsModule",
     "\nLoadModule suphp_module x.so\n#LoadModule suphp_module y.so\n <IfModule "
     "!mod_suphp.c>\n\tsuPHP_ConfigPath x\n"
     "\tsuPHP_Engine off\n </IfModule>\n<IfModule mod_ssl.c>\n</IfModule>\nsuPHP_Engine Off\n",
     disableGlobally, R"(96
2-LoadModule suphp_module x.so
3-#LoadModule suphp_module y.so
4- <IfModule !mod_suphp.c>
6-	suPHP_Engine off
7- </IfModule>)"},
    // A site's engine without the server's would stop the start.
    {"ServerTakesTheSitesEnginesAlong",
     "<VirtualHost *>\n" + Block + " \t suPHP_Engine On\n</VirtualHost>\n" + Engine, disableGlobally, R"(96
3-		suPHP_Engine On
12-<IfModule mod_suphp.c>
13-	suPHP_Engine On
14-</IfModule>)"},
    // The owner's user runs the scripts: the wrong one would open other sites.
    {"SiteGetsItsBlockBehindItsLog", Site + Other, enable(), R"(96
> !string::npos
1,15-
8+	<IfModule mod_suphp.c>
9+		suPHP_Engine On
10+		AddType application/x-httpd-php   .php
11+		AddHandler x-httpd-php .php
12+		suPHP_AddHandler x-httpd-php
13+		suPHP_UserGroup siteadmin zp7group
14+		SetEnv PHPRC "/var/www/example.com/setting_php
15+	</IfModule>)"},
    // A repeated request adds no second block.
    {"SiteHasItsBlockAlready", withBlock(Site), enable(), "96, chatter"},
    // A mention in a comment counts as there: a known limit.
    {"SiteHasTheModuleMentioned", with(Site, Log, Log + "# no mod_suphp here\n"), enable(), "96, chatter"},
    // Without the line to stand behind nothing is written.
    {"SiteWithoutLog", without(Site, Log) + Other, enable(), "96, chatter"},
    // Names are compared as they are written here.
    {"SiteOfAnotherLetterCase", with(Site, "ServerName ex", "ServerName Ex"), enable(), "96, chatter"},
    // The owner is what stands before the at sign, or all of it.
    {"SiteOwnerWithoutMailDomain", with(Site, "siteadmin@example.com", "siteadmin"), enable(),
     R"(96, chatter
1-
8+	<IfModule mod_suphp.c>
9+		suPHP_Engine On
10+		AddType application/x-httpd-php   .php
11+		AddHandler x-httpd-php .php
12+		suPHP_AddHandler x-httpd-php
13+		suPHP_UserGroup siteadmin zp7group
14+		SetEnv PHPRC "/var/www/example.com/setting_php
15+	</IfModule>)"},
    // Where the root is not below the site's directory, no settings are named.
    {"SiteOutsideItsFolder", with(Site, "/var/www/example.com/www/html", "/srv/html"), enable(), R"(96
1-
8+	<IfModule mod_suphp.c>
9+		suPHP_Engine On
10+		AddType application/x-httpd-php   .php
11+		AddHandler x-httpd-php .php
12+		suPHP_AddHandler x-httpd-php
13+		suPHP_UserGroup siteadmin zp7group
14+	</IfModule>)"},
    // An unfinished last line is ended before the block.
    {"SiteCutBehindItsLog", "<VirtualHost *>\nServerName example.com\n customlog x", enable(), R"(96
3- customlog x (no newline)
3+ customlog x
4+	<IfModule mod_suphp.c>
5+		suPHP_Engine On
6+		AddType application/x-httpd-php   .php
7+		AddHandler x-httpd-php .php
8+		suPHP_AddHandler x-httpd-php
9+		suPHP_UserGroup  zp7group
10+	</IfModule>)"},
    // An unknown name changes nothing.
    {"SiteUnknown", Site, enable("absent.example"), "96"},
    // Only the module's block goes.
    {"NoSiteBlock", "\n" + withBlock(Site) + Other, disable(), R"(96
> Server Name Found
> IfMoudle found
> </IfModule>
> replaceing files
9-	<IfModule mod_suphp.c>
10-		suPHP_Engine On
11-		AddType application/x-httpd-php   .php
12-		AddHandler x-httpd-php .php
13-		suPHP_AddHandler x-httpd-php
14-		suPHP_UserGroup siteadmin zp7group
15-		SetEnv PHPRC "/var/www/example.com/setting_php
16-	</IfModule>)"},
    // The bound of a block itself.
    {"NoSiteBlockOfTenLines", with(Site, Log, longBlock(10)), disable(), R"(96, chatter
8-	<IfModule mod_suphp.c>
9..17-		# more
18-	</IfModule>)"},
    // A longer block is not the one that was written here.
    {"NoSiteBlockOfMore", with(Site, Log, longBlock(11)), disable(), R"(87
> Server Name Found
> IfMoudle found
> IsError true)"},
    // The lines of all blocks count together: a known limit.
    {"NoSiteBlocksOfMoreTogether", with(Site, Log, longBlock(8)) + with(Site, Log, longBlock(8)), disable(),
     R"(87
> Server Name Found
> IfMoudle found
> </IfModule>
> Server Name Found
> IfMoudle found
> IsError true)"},
    // What has no end is not dropped to the end of the file.
    {"NoSiteBlockWithoutEnd", "<VirtualHost *>\nServerName example.com\n<IfModule mod_suphp.c>\n",
     disable(), "87, chatter"},
    // A block behind the site is not the site's.
    {"NoSiteBlockBehindTheSite",
     "<VirtualHost *>\nServerName example.com\n\t</VIRTUALhost>\n" + longBlock(3), disable(), R"(96
> Server Name Found)"},
    // The server's own engine stays.
    {"NoSiteBlockThere", Site + Engine, disable(), "96, chatter"},
    // Nobody's scripts run as another user by a wrong name.
    {"NoSiteKnown", withBlock(Site), disable("absent.example"), "96"},
};

}  // namespace

class SuPhp : public ::testing::TestWithParam<FileCase> {};
TEST_P(SuPhp, File) { check(GetParam()); }
INSTANTIATE_TEST_SUITE_P(Switch, SuPhp, ::testing::ValuesIn(suPhpCases), byName);

TEST(SuPhpSwitch, KeepsWhatTheScratchFileHeldWhenTheServerGoes) {
    const std::string file = scratch("httpd.conf");
    writeFile(file, "Listen 80\n" + Engine);
    const FakeTools tools;
    CZPWebsite website(nullptr, file.c_str());
    tools.replace("mv");
    EXPECT_EQ(website.DisableSuPhpGlobally(), 96);
    tools.watch("mv");
    EXPECT_EQ(website.DisableSuPhpGlobally(), 96);
    EXPECT_EQ(readFile(file), "Listen 80\nListen 80\n");
    writeFile(scratch("victim"), "");
    for (time_t second = std::time(nullptr), end = second + 20; second < end; ++second) {
        std::filesystem::create_symlink(scratch("victim"), scratch(std::to_string(second)));
    }
    EXPECT_NE(disableGlobally(file), 96);
    EXPECT_EQ(readFile(scratch("victim")), "");
}

namespace {

const std::string Shipped = "/usr/local/zeplarpanel/config/suphp/";
const std::string Template =
    "user={APACHE_USER}\n; {APACHE_USER} {WEBSPACE_PATH}\n{PHP-CGI_PATH} {PHP5-CGI_PATH}";

struct Host {
    const char* kernel;
    std::string program, module;
    std::vector<std::string> folders;
};
const Host Hosts[] = {{"Linux x 5.1 i686 GNU/Linux\n",
                       "suphp_i386",
                       "mod_suphp_i386.so",
                       {"/usr/lib/httpd/modules", "/usr/lib/apache2/modules"}},
                      {"Linux x 5.1 x86_64 GNU/Linux\n",
                       "suphp_x64",
                       "mod_suphp_x64.so",
                       {"/usr/lib64/httpd/modules", "/usr/lib64/apache2/modules",
                        "/usr/lib/apache2/modules", "/usr/lib/httpd/modules"}}};

// The shipped files, the directories for modules, and a kernel that gives this answer.
void layOutHost(const Host& host) {
    std::filesystem::remove_all("/usr/local/sbin");
    std::filesystem::remove_all("/usr/local/etc");
    std::filesystem::remove_all("/var/log/suphp");
    for (const char* name : {"suphp_i386", "suphp_x64", "mod_suphp_i386.so", "mod_suphp_x64.so"}) {
        writeFile(Shipped + name, std::string("shipped ") + name);
        ASSERT_EQ(::chown((Shipped + name).c_str(), 2001, 2002), 0);
        ASSERT_EQ(::chmod((Shipped + name).c_str(), 0640), 0);
    }
    writeFile(Shipped + "suphp.conf", Template);
    for (const char* folder :
         {"/usr/lib/httpd/modules", "/usr/lib64/httpd/modules", "/usr/lib64/apache2/modules"}) {
        std::filesystem::create_directories(folder);
    }
    writeFile("/bin/uname", "#!/bin/sh\n[ \"$*\" = -a ] && printf '" + std::string(host.kernel) + "'\n");
}

int configure(const std::string& conf = "User www\nGroup web\n", const std::string& webspace = "/var/www",
              const std::string& php = "/usr/bin/php-cgi") {
    writeFile(scratch("httpd.conf"), conf);
    const CapturedOutput output;
    return CZPWebsite(nullptr, "").ConfigureSuPhp(scratch("httpd.conf"), webspace, php, "unused");
}

std::string installedConfiguration() { return readFile("/usr/local/etc/suphp.conf"); }

}  // namespace

TEST(SuPhpInstallation, PutsTheFilesOfTheHostsKindInPlace) {
    for (const Host& host : Hosts) {
        layOutHost(host);
        writeFile("/usr/lib/httpd/modules/mod_suphp.so", "an earlier one");
        ASSERT_EQ(::chown("/usr/lib/httpd/modules/mod_suphp.so", 2001, 2002), 0);
        ::umask(077);
        const FakeTools tools;
        tools.watch("cp");
        const size_t before = tools.calls().size();
        EXPECT_EQ(configure(), 0);
        ::umask(022);
        Calls expected{"cp " + Shipped + host.program + " /usr/local/sbin/suphp",
                       "cp " + Shipped + "suphp.conf /usr/local/etc/."};
        for (const std::string& folder : host.folders) {
            expected.push_back("cp " + Shipped + host.module + " " + folder + "/mod_suphp.so");
            EXPECT_EQ(readFile(folder + "/mod_suphp.so"), "shipped " + host.module);
            EXPECT_EQ(mode(folder + "/mod_suphp.so") + owner(folder + "/mod_suphp.so"), "07550:0");
        }
        const Calls calls = tools.calls();
        EXPECT_EQ(Calls(calls.begin() + static_cast<std::ptrdiff_t>(before), calls.end()), expected);
        EXPECT_EQ(readFile("/usr/local/sbin/suphp"), "shipped " + host.program);
        EXPECT_EQ(mode("/usr/local/sbin/suphp") + owner("/usr/local/sbin/suphp"), "47550:0");
        EXPECT_EQ(mode("/var/log/suphp") + mode("/usr/local/etc") + mode("/usr/local/sbin"),
                  "075507550755");
        EXPECT_EQ(installedConfiguration(),
                  "user=www\n; www /var/www\nphp:/usr/bin/php-cgi php:/usr/bin/php-cgi");
    }
}

TEST(SuPhpInstallation, KeepsTheProgramAndRewritesTheConfiguration) {
    layOutHost(Hosts[1]);
    writeFile("/usr/local/sbin/suphp", "own");
    writeFile("/usr/local/etc/own.conf", "own");
    ASSERT_EQ(::chmod("/usr/local/etc/own.conf", 0640), 0);
    std::filesystem::create_symlink("own.conf", "/usr/local/etc/suphp.conf");
    EXPECT_EQ(configure("", "{WEBSPACE_PATH}/{PHP-CGI_PATH}", "{PHP-CGI_PATH}"), 0);
    EXPECT_EQ(readFile("/usr/local/sbin/suphp") + mode("/usr/local/sbin/suphp"), "own0644");
    EXPECT_EQ(installedConfiguration(),
              "user={APACHE_USER}\n; {APACHE_USER} {WEBSPACE_PATH}/php:{PHP-CGI_PATH}\n"
              "php:{PHP-CGI_PATH} php:{PHP-CGI_PATH}");
    EXPECT_EQ(mode("/usr/local/etc/own.conf"), "0640");
    EXPECT_EQ(namesIn("/usr/local/etc"), (Calls{"own.conf", "suphp.conf"}));
    EXPECT_TRUE(std::filesystem::is_symlink("/usr/local/etc/suphp.conf"));
}

TEST(SuPhpInstallation, LeavesTheConfigurationWhenItCannotBeFilledIn) {
    layOutHost(Hosts[1]);
    writeFile("/usr/local/etc/suphp.conf", "own");
    EXPECT_EQ(configure("User www\n", "/var/www\nallow_file_group_writeable=true"), 0);
    const std::string installed = "/usr/local/etc/suphp.conf", moved = installed + ".moved";
    std::filesystem::rename(installed, moved);
    ASSERT_EQ(::mknod(installed.c_str(), S_IFSOCK | 0600, 0), 0);  // stands there and cannot be opened
    EXPECT_EQ(configure(), 0);
    EXPECT_TRUE(std::filesystem::is_socket(installed));
    std::filesystem::rename(moved, installed);
    std::filesystem::remove(Shipped + "suphp.conf");
    EXPECT_EQ(configure(), 0);
    EXPECT_EQ(installedConfiguration(), "own");
    EXPECT_EQ(readFile("/usr/lib/httpd/modules/mod_suphp.so"), "shipped mod_suphp_x64.so");
}
