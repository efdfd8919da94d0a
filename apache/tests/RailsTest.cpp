// A site switched to its Rails application and back.
#include <RubyOnRails.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>

#include "support/FakeTools.h"
#include "support/FileCase.h"
#include "support/Files.h"
#include "support/Sites.h"
#include "support/Text.h"
#include "support/Watching.h"

using namespace zp::test;
namespace fs = std::filesystem;

namespace {

const std::string Content = "/var/www/example.com/www";
const std::string Default = blockOf({});
const std::string Root = "\tDocumentRoot \"" + Content + "/html\"\n";

// The site's content directory, which belongs to its owner.
void layOutSite() {
    addSiteAccounts();
    writeFile(Content + "/html/index.html", "");
    EXPECT_EQ(::chown(Content.c_str(), 2001, 2002), 0);
}

FileOperation toRails(const std::string& application = "app", const std::string& user = "siteowner") {
    return [=](auto& file) {
        layOutSite();
        return RubyOnRails(nullptr, file).defaultToROR("example.com", application, user);
    };
}
FileOperation toDefault(const std::string& application = "app") {
    return [=](auto& file) { return RubyOnRails(nullptr, file).RORToDefault("example.com", application); };
}
// The document root is gone when it is to be updated, behind the backup.
FileOperation robbed(const FileOperation& operation) {
    return [=](auto& file) {
        const FakeTools tools;
        tools.replace("cp", ": >\"$1\"");
        return operation(file);
    };
}
FileOperation withoutScratchFile(const FileOperation& operation) {
    return [=](auto& file) {
        fs::create_directories(file + "_temp1");
        return operation(file);
    };
}

// The application's block is told in one line where it is exactly this.
std::string folded(std::string text, const std::string& application) {
    const std::string block =
        "\t<Directory \"" + Content + "/" + application + "/public\">\n" +
        lines({"\t\tAllowOverride none", "\t\tAllow from \"All\"", "\t\tOptions +FollowSymLinks +ExecCGI",
               "\t\tAddHandler fastcgi-script .fcgi", "\t\tRewriteEngine On",
               "\t\tRewriteRule ^$ index.html [QSA]", "\t\tRewriteRule ^([^.]+)$ $1.html [QSA]",
               "\t\tRewriteCond %{REQUEST_FILENAME} !-f", "\t\tRewriteRule ^(.*)$ dispatch.fcgi [QSA,L]",
               "\t</Directory>"});
    const size_t at = text.find(block);
    return at == std::string::npos ? text
                                   : text.replace(at, block.size(), "\t(block of " + application + ")\n");
}
FileOperation folding(const FileOperation& operation) {
    return [=](auto& file) {
        const int result = operation(file);
        for (const std::string& name : {file, file + ".zpbackup.rt"}) {
            if (fs::exists(name)) {
                writeFile(name, folded(folded(readFile(name), "app"), "app/app"));
            }
        }
        return result;
    };
}

const std::string Bare = with(Default, Root, "\tDocumentRoot " + Content + "/html\n");
const FileCase railsCases[] = {
    // The root moves and the application gets its rules.
    {"ToTheApplication", Default, toRails(), R"(0, .zpbackup.rt
1-
5-	DocumentRoot "/var/www/example.com/www/html"
4+	DocumentRoot "/var/www/example.com/www/app/public"
8+	(block of app)
kept:
1-
5-	DocumentRoot "/var/www/example.com/www/html"
4+	DocumentRoot "/var/www/example.com/www/app/public")"},
    // A second switch goes below the first: a known surprise.
    {"ToTheApplicationOneLevelDeeper", Default, twice(toRails()), R"(0, .zpbackup.rt
1-
5-	DocumentRoot "/var/www/example.com/www/html"
4+	DocumentRoot "/var/www/example.com/www/app/app/public"
8+	(block of app/app)
9+	(block of app)
kept:
1-
5-	DocumentRoot "/var/www/example.com/www/html"
4+	DocumentRoot "/var/www/example.com/www/app/app/public"
8+	(block of app))"},
    // The way back leaves the site as it was, empty lines aside.
    {"ToTheApplicationAndBack", Default, inTurn(toRails(), toDefault()), R"(0, .zpbackup.rt
1-
kept:
1-
8+	(block of app))"},
    // An unquoted root is an error of the file: a known limit.
    {"ToTheApplicationWithoutQuotes", Bare, toRails(), R"(3
> error occured while getting DocumentRoot, error occured in apache configuration file)"},
    // Without a root there is nothing to switch, and nothing is made.
    {"ToTheApplicationWithoutRoot", without(Default, Root), toRails(), R"(5
> error occured while getting DocumentRoot, DocumentRoot not found)"},
    // Without an owner no directory is made; the root has moved all the same, a known surprise.
    {"ToTheApplicationWithoutOwner", Default, toRails("fresh", "nobody-known"), R"(7, .zpbackup.rt
> Cannot make rails application folder
1-
5-	DocumentRoot "/var/www/example.com/www/html"
4+	DocumentRoot "/var/www/example.com/www/fresh/public")"},
    // Nor is a path made up on the way.
    {"ToTheApplicationInAMissingFolder", Default, toRails("missing/app"), R"(7, .zpbackup.rt, chatter
1-
5-	DocumentRoot "/var/www/example.com/www/html"
4+	DocumentRoot "/var/www/example.com/www/missing/app/public")"},
    // The rules need a block; the file says how far it came.
    {"ToTheApplicationWithoutABlockToStandBefore",
     Default.substr(0, Default.find("\t<Directory")) + "</VirtualHost>\n", toRails(), R"(8, .zpbackup.rt
> cannot add directory tag
1-
5-	DocumentRoot "/var/www/example.com/www/html"
4+	DocumentRoot "/var/www/example.com/www/app/public"
kept:
1-
5-	DocumentRoot "/var/www/example.com/www/html"
4+	DocumentRoot "/var/www/example.com/www/app/public")"},
    // A file that cannot be written stays as it is.
    {"ToTheApplicationWithoutScratchFile", Default, withoutScratchFile(toRails()),
     R"(2, .zpbackup.rt, _temp1
> error occured while updating DocumentRoot, cannot open temp file)"},
    // What another program took away meanwhile is reported, and not made up.
    {"ToTheApplicationRobbed", Default, robbed(toRails()), R"(6
> error occured while updating DocumentRoot, Cannot update DocumentRoot
1-
2-<VirtualHost 10.0.0.5>
3-	ServerName example.com
4-	ServerAdmin siteadmin@example.com
5-	DocumentRoot "/var/www/example.com/www/html"
6-	ServerAlias www.example.com
7-	ErrorLog /var/www/example.com/log/httpd/error_log
8-	CustomLog /var/www/example.com/log/httpd/access_log combined
9-	<Directory "/var/www/example.com">
10-		AllowOverride All
11,13-	</Directory>
12-	<Directory "/var/www/example.com/www">
14-</VirtualHost>)"},
    // The way back reads what the way there reads.
    {"BackWithoutQuotes", Bare, toDefault(), R"(3
> Error occured while getting DocumentRoot, error in  apache configuration file)"},
    // Nothing to switch back.
    {"BackWithoutRoot", without(Default, Root), toDefault(), R"(5
> Error occured while getting DocumentRoot, DocumentRoot not found)"},
    // A site that never was switched is left alone.
    {"BackFromNoApplication", Default, toDefault(), "5, chatter"},
    // Only the named application is left.
    {"BackFromAnotherApplication", Default, inTurn(toRails(), toDefault("pp")), R"(5, .zpbackup.rt, chatter
1-
5-	DocumentRoot "/var/www/example.com/www/html"
4+	DocumentRoot "/var/www/example.com/www/app/public"
8+	(block of app)
kept:
1-
5-	DocumentRoot "/var/www/example.com/www/html"
4+	DocumentRoot "/var/www/example.com/www/app/public")"},
    // A file that cannot be written stays as it is.
    {"BackWithoutScratchFile", Default, inTurn(toRails(), withoutScratchFile(toDefault())),
     R"(2, .zpbackup.rt, _temp1
> Error occured while Updating DocumentRoot, Cannot open Temp file
1-
5-	DocumentRoot "/var/www/example.com/www/html"
4+	DocumentRoot "/var/www/example.com/www/app/public"
8+	(block of app)
kept:
1-
5-	DocumentRoot "/var/www/example.com/www/html"
4+	DocumentRoot "/var/www/example.com/www/app/public"
8+	(block of app))"},
    // The last step fails, and says so.
    {"BackRobbed", Default, inTurn(toRails(), robbed(toDefault())), R"(6, .zpbackup.rt
> Error occured while updating DocumentRoot, Cannot update
1-
2-<VirtualHost 10.0.0.5>
3-	ServerName example.com
4-	ServerAdmin siteadmin@example.com
5-	DocumentRoot "/var/www/example.com/www/html"
6-	ServerAlias www.example.com
7-	ErrorLog /var/www/example.com/log/httpd/error_log
8-	CustomLog /var/www/example.com/log/httpd/access_log combined
9-	<Directory "/var/www/example.com">
10-		AllowOverride All
11,13-	</Directory>
12-	<Directory "/var/www/example.com/www">
14-</VirtualHost>
kept:
1-
5-	DocumentRoot "/var/www/example.com/www/html"
4+	DocumentRoot "/var/www/example.com/www/app/public")"},
};

std::string siteWith(const std::string& text) {
    layOutSite();
    std::string file = scratch("httpd.conf");
    writeFile(file, text);
    return file;
}

}  // namespace

class RailsSwitch : public ::testing::TestWithParam<FileCase> {};
TEST_P(RailsSwitch, File) {
    FileCase railsCase = GetParam();
    railsCase.operation = folding(railsCase.operation);
    check(railsCase);
}
INSTANTIATE_TEST_SUITE_P(Every, RailsSwitch, ::testing::ValuesIn(railsCases), byName);

TEST(Rails, MakesFoldersThatOutliveIt) {
    const std::string file = siteWith(Default);
    EXPECT_EQ(toRails()(file), 0);
    for (const char* folder : {"/app", "/app/public"}) {
        EXPECT_EQ(mode(Content + folder) + " " + owner(Content + folder), "4705 2001:2002") << folder;
    }
    writeFile(Content + "/app/public/index.html", "kept");
    EXPECT_EQ(toDefault()(file), 0);
    EXPECT_EQ(twice(toRails())(file), 0);
    EXPECT_EQ(mode(Content + "/app/app/public"), "4705");
    EXPECT_EQ(readFile(Content + "/app/public/index.html"), "kept");
}

TEST(Rails, RunsACommandThatRemovesNothing) {
    const std::string file = siteWith(Default);
    const std::string log = scratch("log");
    EXPECT_EQ(toRails("my app")(file), 0);
    ASSERT_EQ(::rename("/bin/rm", "/bin/rm.real"), 0);
    writeFile("/bin/rm", "#!/bin/sh\nprintf '%s\\n' $# \"$@\" >" + log + "\n");
    ASSERT_EQ(::chmod("/bin/rm", 0755), 0);
    EXPECT_EQ(toDefault("my app")(file), 0);
    ASSERT_EQ(::rename("/bin/rm.real", "/bin/rm"), 0);
    EXPECT_EQ(readFile(log), "1\n-rf" + Content + "/my app\n");
}

// Nothing outside the site changes its mode or owner, whatever the site's owner puts in the way.
TEST(Rails, FollowsNoLinkOfTheOwner) {
    const std::string outside = scratch("outside");
    writeFile(outside + "/public/file", "");
    const std::string file = siteWith(Default);
    const auto link = [](const std::string& to, const std::string& name) {
        ASSERT_EQ(::symlink(to.c_str(), (Content + name).c_str()), 0);
    };
    link(outside, "/linked");
    link("/nowhere", "/dangling");
    writeFile(Content + "/partly/file", "");
    link(outside + "/public", "/partly/public");
    writeFile(Content + "/roots/file", "");  // closed: the owner may have moved it there
    ASSERT_EQ(::chmod((Content + "/roots").c_str(), 0700), 0);
    writeFile(Content + "/plain", "");
    writeFile(Content + "/thirds/file", "");
    ASSERT_EQ(::chown((Content + "/thirds").c_str(), 4321, 4321), 0);
    for (const char* application :
         {"linked", "dangling", "partly", "plain", "thirds", "roots", "linked/app"}) {
        writeFile(file, Default);
        const CapturedOutput output;
        EXPECT_EQ(toRails(application)(file), 7) << application;
        EXPECT_EQ(output.text(), std::string(application) == "partly"
                                     ? "cannot make public folder\n"
                                     : "Cannot make rails application folder\n");
    }
    for (const char* folder : {"", "/public"}) {
        EXPECT_EQ(mode(outside + folder) + " " + owner(outside + folder), "0755 0:0") << folder;
    }
    EXPECT_EQ(namesIn(outside), std::vector<std::string>{"public"});
    EXPECT_EQ(mode(Content + "/plain"), "0644");
    EXPECT_EQ(owner(Content + "/thirds"), "4321:4321");
    EXPECT_EQ(mode(Content + "/roots") + " " + owner(Content + "/roots"), "0700 0:0");
    writeFile(file, Default);
    writeFile(Content + "/deployed/file", "");  // by root, for all to read
    EXPECT_EQ(toRails("deployed")(file), 0);
    EXPECT_EQ(mode(Content + "/deployed") + " " + owner(Content + "/deployed/public"),
              "4705 " + owner(Content));
}
