// suPHP: its installation, and its switches for the server and for a site. Debian ships no suPHP: what is
// tested is the files that are written and the commands that are run.
#include <CZPWebsite.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

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

const FileCase cases[] = {
    {"ServerGoesBeforeTheFirstLoading", Loading, enableGlobally},
    {"ServerStaysOn", "  suPHP_engine  oN\n", enableGlobally},
    {"ServerIsTurnedOn", "\nsuPHP_Engine Off\n\tsuPHP_Engine Off\nsuphp_engineX\n", enableGlobally},
    {"ServerWithoutLoadingStaysAsItIs", "\nListen 80\n", enableGlobally},
    {"ServerIsTurnedOnTwice", with(Loading, "loadmodule", Engine + "loadmodule"), enableGlobally},
    {"ServerGoesWithItsModule",
     "\nLoadModule suphp_module x.so\n#LoadModule suphp_module y.so\n <IfModule "
     "!mod_suphp.c>\n\tsuPHP_ConfigPath x\n"
     "\tsuPHP_Engine off\n </IfModule>\n<IfModule mod_ssl.c>\n</IfModule>\nsuPHP_Engine Off\n",
     disableGlobally},
    {"ServerTakesTheSitesEnginesAlong",
     "<VirtualHost *>\n" + Block + " \t suPHP_Engine On\n</VirtualHost>\n" + Engine, disableGlobally},
    {"SiteGetsItsBlockBehindItsLog", Site + Other, enable()},
    {"SiteHasItsBlockAlready", withBlock(Site), enable()},
    {"SiteHasTheModuleMentioned", with(Site, Log, Log + "# no mod_suphp here\n"), enable()},
    {"SiteWithoutLog", without(Site, Log) + Other, enable()},
    {"SiteOfAnotherLetterCase", with(Site, "ServerName ex", "ServerName Ex"), enable()},
    {"SiteOwnerWithoutMailDomain", with(Site, "siteadmin@example.com", "siteadmin"), enable()},
    {"SiteOutsideItsFolder", with(Site, "/var/www/example.com/www/html", "/srv/html"), enable()},
    {"SiteCutBehindItsLog", "<VirtualHost *>\nServerName example.com\n customlog x", enable()},
    {"SiteUnknown", Site, enable("absent.example")},
    {"NoSiteBlock", "\n" + withBlock(Site) + Other, disable()},
    {"NoSiteBlockOfTenLines", with(Site, Log, longBlock(10)), disable()},
    {"NoSiteBlockOfMore", with(Site, Log, longBlock(11)), disable()},
    {"NoSiteBlocksOfMoreTogether", with(Site, Log, longBlock(8)) + with(Site, Log, longBlock(8)),
     disable()},
    {"NoSiteBlockWithoutEnd", "<VirtualHost *>\nServerName example.com\n<IfModule mod_suphp.c>\n",
     disable()},
    {"NoSiteBlockBehindTheSite",
     "<VirtualHost *>\nServerName example.com\n\t</VIRTUALhost>\n" + longBlock(3), disable()},
    {"NoSiteBlockThere", Site + Engine, disable()},
    {"NoSiteKnown", withBlock(Site), disable("absent.example")},
};

}  // namespace

class SuPhp : public ::testing::TestWithParam<FileCase> {};
TEST_P(SuPhp, File) { check(GetParam()); }
INSTANTIATE_TEST_SUITE_P(Switch, SuPhp, ::testing::ValuesIn(cases), byName);

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

// The shipped files, the folders for modules, and a kernel that gives this answer.
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
    writeFile("/usr/local/etc/suphp.conf", "own");
    ASSERT_EQ(::chmod("/usr/local/etc/suphp.conf", 0640), 0);
    EXPECT_EQ(configure("", "{WEBSPACE_PATH}/{PHP-CGI_PATH}", "{PHP-CGI_PATH}"), 0);
    EXPECT_EQ(readFile("/usr/local/sbin/suphp") + mode("/usr/local/sbin/suphp"), "own0644");
    EXPECT_EQ(installedConfiguration(),
              "user={APACHE_USER}\n; {APACHE_USER} {WEBSPACE_PATH}/php:{PHP-CGI_PATH}\n"
              "php:{PHP-CGI_PATH} php:{PHP-CGI_PATH}");
    EXPECT_EQ(mode("/usr/local/etc/suphp.conf"), "0640");
    EXPECT_EQ(namesIn("/usr/local/etc"), Calls{"suphp.conf"});
}

TEST(SuPhpInstallation, LeavesTheConfigurationWhenItCannotBeFilledIn) {
    layOutHost(Hosts[1]);
    writeFile("/usr/local/etc/suphp.conf", "own");
    EXPECT_EQ(configure("User www\n", "/var/www\nallow_file_group_writeable=true"), 0);
    std::filesystem::remove(Shipped + "suphp.conf");
    EXPECT_EQ(configure(), 0);
    EXPECT_EQ(installedConfiguration(), "own");
    EXPECT_EQ(readFile("/usr/lib/httpd/modules/mod_suphp.so"), "shipped mod_suphp_x64.so");
}
