// A site switched to its Rails application and back.
#include <RubyOnRails.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>

#include "support/FakeTools.h"
#include "support/Files.h"
#include "support/Sandbox.h"
#include "support/Sites.h"
#include "support/Text.h"
#include "support/Watching.h"

using namespace zp::test;

namespace {

int toRails(const std::string& file, const std::string& application = "app",
            const std::string& user = "siteowner") {
    return RubyOnRails(nullptr, file).defaultToROR("example.com", application, user);
}
int toDefault(const std::string& file, const std::string& application = "app") {
    return RubyOnRails(nullptr, file).RORToDefault("example.com", application);
}

const std::string Content = "/var/www/example.com/www";
const std::string Default = blockOf({});

// The site's block, turned from the document root `from` to an application in `folder`.
std::string turned(const std::string& block, const std::string& from, const std::string& folder) {
    return with(
        with(withoutEmptyLines(block), "DocumentRoot \"" + from, "DocumentRoot \"" + folder + "/public"),
        "\t<Directory",
        lines({"\t<Directory \"" + folder + "/public\">", "\t\tAllowOverride none",
               "\t\tAllow from \"All\"", "\t\tOptions +FollowSymLinks +ExecCGI",
               "\t\tAddHandler fastcgi-script .fcgi", "\t\tRewriteEngine On",
               "\t\tRewriteRule ^$ index.html [QSA]", "\t\tRewriteRule ^([^.]+)$ $1.html [QSA]",
               "\t\tRewriteCond %{REQUEST_FILENAME} !-f", "\t\tRewriteRule ^(.*)$ dispatch.fcgi [QSA,L]",
               "\t</Directory>"}) +
            "\t<Directory");
}
const std::string Turned = turned(Default, Content + "/html", Content + "/app");

// A configuration with this text, and the site's content folder, which belongs to its owner.
std::string siteWith(const std::string& text) {
    addSiteAccounts();
    writeFile(Content + "/html/index.html", "");
    EXPECT_EQ(::chown(Content.c_str(), 2001, 2002), 0);
    std::string file = scratch("httpd.conf");
    writeFile(file, text);
    return file;
}

}  // namespace

TEST(Rails, TurnsTheSiteToItsApplicationAndBack) {
    const std::string file = siteWith(Default);
    EXPECT_EQ(toRails(file), 0);
    EXPECT_EQ(readFile(file), Turned);
    for (const char* folder : {"/app", "/app/public"}) {
        EXPECT_EQ(mode(Content + folder) + " " + owner(Content + folder), "4705 2001:2002") << folder;
    }
    writeFile(Content + "/app/public/index.html", "kept");
    EXPECT_EQ(toDefault(file), 0);
    EXPECT_EQ(readFile(file), withoutEmptyLines(Default));

    // Once more: the folders are there. Then from there: one level deeper.
    EXPECT_EQ(toRails(file), 0);
    EXPECT_EQ(toRails(file), 0);
    EXPECT_EQ(readFile(file), turned(Turned, Content + "/app/public", Content + "/app/app"));
    EXPECT_EQ(mode(Content + "/app/app/public"), "4705");
    EXPECT_EQ(readFile(Content + "/app/public/index.html"), "kept");
}

TEST(Rails, RunsACommandThatRemovesNothing) {
    const std::string file = siteWith(turned(Default, Content + "/html", Content + "/my app"));
    const std::string log = scratch("log");
    ASSERT_EQ(::rename("/bin/rm", "/bin/rm.real"), 0);
    writeFile("/bin/rm", "#!/bin/sh\nprintf '%s\\n' $# \"$@\" >" + log + "\n");
    ASSERT_EQ(::chmod("/bin/rm", 0755), 0);
    EXPECT_EQ(toDefault(file, "my app"), 0);
    ASSERT_EQ(::rename("/bin/rm.real", "/bin/rm"), 0);
    EXPECT_EQ(readFile(log), "1\n-rf" + Content + "/my app\n");
}

TEST(Rails, SaysWhyTheSiteIsNotTurned) {
    const std::string bare = with(Default, "\"" + Content + "/html\"", Content + "/html");
    const std::string none = without(Default, "\tDocumentRoot \"" + Content + "/html\"\n");
    const std::string getting = "rror occured while getting DocumentRoot, ";
    const std::tuple<std::string, int (*)(const std::string&), int, std::string> refusals[] = {
        {NoFile, [](auto& file) { return toRails(file); }, 1,
         "e" + getting + "cannot open apache configuration file\n"},
        {bare, [](auto& file) { return toRails(file); }, 3,
         "e" + getting + "error occured in apache configuration file\n"},
        {none, [](auto& file) { return toRails(file); }, 5, "e" + getting + "DocumentRoot not found\n"},
        {NoFile, [](auto& file) { return toDefault(file); }, 1,
         "E" + getting + "Cannot open apache configuration file\n"},
        {bare, [](auto& file) { return toDefault(file); }, 3,
         "E" + getting + "error in  apache configuration file\n"},
        {none, [](auto& file) { return toDefault(file); }, 5, "E" + getting + "DocumentRoot not found\n"},
        // The document root is not the application's.
        {Default, [](auto& file) { return toDefault(file); }, 5,
         "E" + getting + "DocumentRoot not found\n"},
        {Turned, [](auto& file) { return toDefault(file, "pp"); }, 5,
         "E" + getting + "DocumentRoot not found\n"},
    };
    for (const auto& [text, operation, result, printed] : refusals) {
        const std::string file = siteWith(text);
        if (text == NoFile) {
            ::unlink(file.c_str());
        }
        const CapturedOutput output;
        EXPECT_EQ(operation(file), result) << printed;
        EXPECT_EQ(output.text(), printed);
        EXPECT_EQ(readFile(file), text);
    }
}

TEST(Rails, SaysWhatCouldNotBeDone) {
    const auto fails = [](const std::string& text, auto operation, int result, const std::string& printed) {
        const std::string file = siteWith(text);
        const CapturedOutput output;
        EXPECT_EQ(operation(file), result) << printed;
        EXPECT_EQ(output.text(), printed);
    };
    const auto rails = [](auto& file) { return toRails(file); };
    fails(
        Default, [](auto& file) { return toRails(file, "fresh", "nobody-known"); }, 7,
        "Cannot make rails application folder\n");
    EXPECT_EQ(mode(Content + "/fresh"), NoFile);
    fails(
        Default, [](auto& file) { return toRails(file, "missing/app"); }, 7,
        "Cannot make rails application folder\n");
    fails(Default.substr(0, Default.find("\t<Directory")) + "</VirtualHost>\n", rails, 8,
          "cannot add directory tag\n");
    FakeTools tools;
    tools.replace("cp", ": >$1");  // the document root is gone when it is to be updated
    fails(Default, rails, 6, "error occured while updating DocumentRoot, Cannot update DocumentRoot\n");
    fails(
        Turned, [](auto& file) { return toDefault(file); }, 6,
        "Error occured while updating DocumentRoot, Cannot update\n");
    tools.watch("cp");
    writeFile(scratch("httpd.conf_temp1/in/the/way"), "");
    fails(Default, rails, 2, "error occured while updating DocumentRoot, cannot open temp file\n");
    fails(
        Turned, [](auto& file) { return toDefault(file); }, 2,
        "Error occured while Updating DocumentRoot, Cannot open Temp file\n");
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
    writeFile(Content + "/plain", "");
    for (const char* application : {"linked", "dangling", "partly", "plain", "linked/app"}) {
        writeFile(file, Default);
        const CapturedOutput output;
        EXPECT_EQ(toRails(file, application), 7) << application;
        EXPECT_EQ(output.text(), std::string(application) == "partly"
                                     ? "cannot make public folder\n"
                                     : "Cannot make rails application folder\n");
    }
    for (const char* folder : {"", "/public"}) {
        EXPECT_EQ(mode(outside + folder) + " " + owner(outside + folder), "0755 0:0") << folder;
    }
    EXPECT_EQ(namesIn(outside), std::vector<std::string>{"public"});
    EXPECT_EQ(mode(Content + "/plain"), "0644");
}
