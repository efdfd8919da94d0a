// Perl CGI and PHP's open_basedir in the directories of a site.
#include <CZPWebsite.h>
#include <gtest/gtest.h>
#include <sys/mount.h>

#include "support/FakeTools.h"
#include "support/FileCase.h"
#include "support/Files.h"
#include "support/Operations.h"

using namespace zp::test;

namespace {

FileOperation enablePerl(const char* domain = "example.com") {
    return onFile(&CZPWebsite::EnablePerl, domain);
}
FileOperation disablePerl(const char* domain = "example.com") {
    return onFile(&CZPWebsite::DisablePerl, domain);
}
FileOperation enableBasedir(const char* folder = "/srv/www", const char* domain = "example.com") {
    return onFile(&CZPWebsite::Enable_open_basedir, domain, folder);
}
FileOperation disableBasedir(const char* folder = "/srv/www", const char* domain = "example.com") {
    return onFile(&CZPWebsite::Disable_open_basedir, domain, folder);
}

const std::string Handler = "\t\tAddHandler cgi-script cgi pl\n";
const std::string Restriction = "\t\tphp_admin_value open_basedir \"/srv/www/:/tmp/\"\n";
const std::string Options = "\t\tOptions +ExecCGI\n";
const std::string Empty = "\n \n";

// The site, with lines in its directory and in a second block of that directory. In front of it everything
// that is not meant: another site, another directory, and the directory without quotes and commented out.
std::string site(const std::string& inFolder, const std::string& inSecond = "",
                 const std::string& root = "\"/srv/www\"") {
    return lines({"<VirtualHost *:80>", "\tServerName other.example", "\t<Directory \"/srv/www\">",
                  "\t</Directory>", "</VirtualHost>", "<virtualhost *:80>", "\tservername  EXAMPLE.com",
                  "\tDocumentRoot " + root, "\t<Directory /srv/www>", "\t</Directory>",
                  "\t<Directory \"\">", "\t</Directory>", "\t<Directory \"/srv\">", "\t</Directory>",
                  "#\t<Directory \"/srv/www\">", "\t<DIRECTORY \"/SRV/www\">"}) +
           inFolder + "\t</Directory>\n\t<Directory \"/srv/www\">\n" + inSecond +
           "\t</Directory>\n</VirtualHost>\n";
}
// A directory behind the site's block, and one behind the next opening tag.
std::string behind(const std::string& folder, const std::string& next = "") {
    return "<VirtualHost *>\nServerName example.com\n</VirtualHost>\n<Directory \"/srv/www\">\n" + folder +
           "</Directory>\n<VirtualHost *>\n<Directory \"/srv/www\">\n" + next + "</Directory>\n";
}

const std::string Folder = "<Directory \"/srv/www\">\n</Directory>\n";
const std::string TwoNames =
    "<VirtualHost *>\nServerName example.com\nDocumentRoot \"/srv/www\"\nServerName other.example\n" +
    Folder + "</VirtualHost>\n";

const FileCase perlAndOpenBasedirCases[] = {
    // One handler is enough for the site.
    {"PerlGoesToTheFirstBlockOfTheDocumentRoot", Empty + site(Options), enablePerl(), R"(0
> 		AddHandler cgi-script cgi pl
1-
18+		AddHandler cgi-script cgi pl)"},
    // It is not looked for: a known surprise.
    {"PerlIsAddedASecondTime", site(Handler), enablePerl(), R"(0, chatter
18+		AddHandler cgi-script cgi pl)"},
    // Both ports run scripts.
    {"PerlGoesToEachBlockOfTheSite", site("") + site(""), enablePerl(), R"(0
> 		AddHandler cgi-script cgi pl
> 		AddHandler cgi-script cgi pl
17,38+		AddHandler cgi-script cgi pl)"},
    // The root is known by its quotes only.
    {"PerlOfASiteWithoutQuotedRoot", site("", "", "/srv/www"), enablePerl(), "0"},
    // A block with two names is both sites'.
    {"PerlDoesNotEndAtAnotherName", TwoNames, enablePerl(), R"(0, chatter
6+		AddHandler cgi-script cgi pl)"},
    // One call undoes one call.
    {"NoPerlDropsOneLine", Empty + site(Options + Handler + Handler), disablePerl(), R"(0
1-
20-		AddHandler cgi-script cgi pl)"},
    // The server reads directives in any letter case.
    {"NoPerlTakesAnyLetterCase", site("ADDHANDLER   CGI-script cgi PL\n"), disablePerl(), R"(0
17-ADDHANDLER   CGI-script cgi PL)"},
    // A handler with more suffixes is somebody else's.
    {"NoPerlKeepsOtherHandlers", site("AddHandler cgi-script cgi pl py\n"), disablePerl(), "0"},
    // The handler may stand in the second block of the directory.
    {"NoPerlReachesALaterFolderOfTheSite", site(Options, Handler), disablePerl(), R"(0
20-		AddHandler cgi-script cgi pl)"},
    // What stands behind the site is not its own.
    {"NoPerlEndsWithTheSite", site("") + "<Directory \"/srv/www\">\n" + Handler + "</Directory>\n",
     disablePerl(), "0"},
    // A pattern is no directory.
    {"PerlOfAPattern",
     "<VirtualHost *>\nServerName example.com\nDocumentRoot \"/srv/www\"\n<DirectoryMatch \"/srv/www\">\n"
     "</DirectoryMatch>\n</VirtualHost>\n",
     enablePerl(), "0"},
    // Nobody's scripts stop by a wrong name.
    {"NoPerlOfAnUnknownSite", site(Handler), disablePerl("absent.example"), "0"},
    // The last value is the one that counts in PHP.
    {"BasedirIsWrittenAtTheEndOfTheFolder", Empty + site(Options), enableBasedir(), R"(96
1-
19,22+		php_admin_value open_basedir "/srv/www/:/tmp/")"},
    // Any other admin value is taken for the old restriction: a known loss.
    {"BasedirReplacesAnyValue", site("\tPHP_admin_value memory_limit 1M\n" + Options, Restriction),
     enableBasedir(), R"(96
17-	PHP_admin_value memory_limit 1M
17+		php_admin_value open_basedir "/srv/www/:/tmp/")"},
    // But only one.
    {"BasedirReplacesOneValue", site(Restriction + "\tphp_admin_value memory_limit 1M\n", Restriction),
     enableBasedir(), "96"},
    // No restriction is opened or set elsewhere.
    {"BasedirOfAnUnknownFolder", Empty + site(Options), enableBasedir("/srv/absent"), R"(96
1-)"},
    // Other than Perl, this stops at the second name.
    {"BasedirEndsAtAnotherName", TwoNames, enableBasedir(), "96"},
    // A name outside of blocks is the server's own.
    {"BasedirAsksForANameInABlock", "ServerName example.com\n" + Folder + "<VirtualHost *>\n" + Folder,
     enableBasedir(), "96"},
    // A known reach beyond the site.
    {"BasedirReachesFoldersBehindTheSite", behind(""), enableBasedir(), R"(96
5+		php_admin_value open_basedir "/srv/www/:/tmp/")"},
    // The same loss when it is lifted.
    {"NoBasedirDropsAnyValue", Empty + site("\tphp_admin_value memory_limit 1M\n" + Options + Restriction),
     disableBasedir(), R"(96
1-
19-	php_admin_value memory_limit 1M)"},
    // A value behind the directory is the server's.
    {"NoBasedirEndsWithTheFolder", site(Options) + "php_admin_value memory_limit 1M\n", disableBasedir(),
     "96"},
    // The same reach when it is lifted.
    {"NoBasedirReachesFoldersBehindTheSite", behind(Restriction, Restriction), disableBasedir(), R"(96
5-		php_admin_value open_basedir "/srv/www/:/tmp/")"},
    // A wrong name must not lift a restriction.
    {"NoBasedirOfAnUnknownSite", site(Restriction), disableBasedir("/srv/www", "absent.example"), "96"},
};

}  // namespace

class SiteFolder : public ::testing::TestWithParam<FileCase> {};
TEST_P(SiteFolder, File) { check(GetParam()); }
INSTANTIATE_TEST_SUITE_P(Switch, SiteFolder, ::testing::ValuesIn(perlAndOpenBasedirCases), byName);

TEST(SiteFolderCommands, MoveTheScratchFileInAnyCase) {
    const std::string file = scratch("httpd.conf");
    writeFile(file, "Listen 80\n");
    const FakeTools tools;
    tools.watch("mv");
    enablePerl()(file);
    disablePerl()(file);
    EXPECT_EQ(tools.calls(), std::vector<std::string>(2, movedFromAnotherFileSystem(file)));
    const std::string odd = scratch("a b;reboot/httpd.conf");
    writeFile(odd, "Listen 80\n");
    EXPECT_EQ(enablePerl()(odd), 0);
    EXPECT_EQ(tools.calls().back(), "mv [" + scratch("a b;reboot/.httpd.conf.zpnew") + "] [" + odd + "]");
    // Two mounts of one file system are two to rename(2), too.
    const std::string bound = "/etc/bound/httpd.conf";
    writeFile(bound, "Listen 80\n");
    ASSERT_EQ(::mount("/etc/bound", "/etc/bound", nullptr, MS_BIND, nullptr), 0);
    EXPECT_EQ(enablePerl()(bound), 0);
    EXPECT_EQ(tools.calls().back(), movedFromAnotherFileSystem(bound));
}
