// Perl CGI and PHP's open_basedir in the folders of a site.
#include <CZPWebsite.h>
#include <gtest/gtest.h>

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

// The site, with lines in its folder and in a second block of that folder. In front of it everything that
// is not meant: another site, another folder, and the folder without quotes and commented out.
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
// A folder behind the site's block, and one behind the next opening tag.
std::string behind(const std::string& folder, const std::string& next = "") {
    return "<VirtualHost *>\nServerName example.com\n</VirtualHost>\n<Directory \"/srv/www\">\n" + folder +
           "</Directory>\n<VirtualHost *>\n<Directory \"/srv/www\">\n" + next + "</Directory>\n";
}

const std::string Folder = "<Directory \"/srv/www\">\n</Directory>\n";
const std::string TwoNames =
    "<VirtualHost *>\nServerName example.com\nDocumentRoot \"/srv/www\"\nServerName other.example\n" +
    Folder + "</VirtualHost>\n";

const FileCase cases[] = {
    {"PerlGoesToTheFirstBlockOfTheDocumentRoot", Empty + site(Options), enablePerl()},
    {"PerlIsAddedASecondTime", site(Handler), enablePerl()},
    {"PerlGoesToEachBlockOfTheSite", site("") + site(""), enablePerl()},
    {"PerlOfASiteWithoutQuotedRoot", site("", "", "/srv/www"), enablePerl()},
    {"PerlDoesNotEndAtAnotherName", TwoNames, enablePerl()},
    {"NoPerlDropsOneLine", Empty + site(Options + Handler + Handler), disablePerl()},
    {"NoPerlTakesAnyLetterCase", site("ADDHANDLER   CGI-script cgi PL\n"), disablePerl()},
    {"NoPerlKeepsOtherHandlers", site("AddHandler cgi-script cgi pl py\n"), disablePerl()},
    {"NoPerlReachesALaterFolderOfTheSite", site(Options, Handler), disablePerl()},
    {"NoPerlEndsWithTheSite", site("") + "<Directory \"/srv/www\">\n" + Handler + "</Directory>\n",
     disablePerl()},
    {"NoPerlOfAnUnknownSite", site(Handler), disablePerl("absent.example")},
    {"BasedirIsWrittenAtTheEndOfTheFolder", Empty + site(Options), enableBasedir()},
    {"BasedirReplacesAnyValue", site("\tPHP_admin_value memory_limit 1M\n" + Options, Restriction),
     enableBasedir()},
    {"BasedirReplacesOneValue", site(Restriction + "\tphp_admin_value memory_limit 1M\n", Restriction),
     enableBasedir()},
    {"BasedirOfAnUnknownFolder", Empty + site(Options), enableBasedir("/srv/absent")},
    {"BasedirEndsAtAnotherName", TwoNames, enableBasedir()},
    {"BasedirAsksForANameInABlock", "ServerName example.com\n" + Folder + "<VirtualHost *>\n" + Folder,
     enableBasedir()},
    {"BasedirReachesFoldersBehindTheSite", behind(""), enableBasedir()},
    {"NoBasedirDropsAnyValue", Empty + site("\tphp_admin_value memory_limit 1M\n" + Options + Restriction),
     disableBasedir()},
    {"NoBasedirEndsWithTheFolder", site(Options) + "php_admin_value memory_limit 1M\n", disableBasedir()},
    {"NoBasedirReachesFoldersBehindTheSite", behind(Restriction, Restriction), disableBasedir()},
    {"NoBasedirOfAnUnknownSite", site(Restriction), disableBasedir("/srv/www", "absent.example")},
};

}  // namespace

class SiteFolder : public ::testing::TestWithParam<FileCase> {};
TEST_P(SiteFolder, File) { check(GetParam()); }
INSTANTIATE_TEST_SUITE_P(Switch, SiteFolder, ::testing::ValuesIn(cases), byName);

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
}
