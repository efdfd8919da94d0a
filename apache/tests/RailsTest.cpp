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

// The site's content folder, which belongs to its owner.
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

const std::string Bare = with(Default, Root, "\tDocumentRoot " + Content + "/html\n");
const FileCase cases[] = {
    {"ToTheApplication", Default, toRails()},
    {"ToTheApplicationOneLevelDeeper", Default, twice(toRails())},
    {"ToTheApplicationAndBack", Default, inTurn(toRails(), toDefault())},
    {"ToTheApplicationWithoutQuotes", Bare, toRails()},
    {"ToTheApplicationWithoutRoot", without(Default, Root), toRails()},
    {"ToTheApplicationWithoutOwner", Default, toRails("fresh", "nobody-known")},
    {"ToTheApplicationInAMissingFolder", Default, toRails("missing/app")},
    {"ToTheApplicationWithoutABlockToStandBefore",
     Default.substr(0, Default.find("\t<Directory")) + "</VirtualHost>\n", toRails()},
    {"ToTheApplicationWithoutScratchFile", Default, withoutScratchFile(toRails())},
    {"ToTheApplicationRobbed", Default, robbed(toRails())},
    {"BackWithoutQuotes", Bare, toDefault()},
    {"BackWithoutRoot", without(Default, Root), toDefault()},
    {"BackFromNoApplication", Default, toDefault()},
    {"BackFromAnotherApplication", Default, inTurn(toRails(), toDefault("pp"))},
    {"BackWithoutScratchFile", Default, inTurn(toRails(), withoutScratchFile(toDefault()))},
    {"BackRobbed", Default, inTurn(toRails(), robbed(toDefault()))},
};

std::string siteWith(const std::string& text) {
    layOutSite();
    std::string file = scratch("httpd.conf");
    writeFile(file, text);
    return file;
}

}  // namespace

class RailsSwitch : public ::testing::TestWithParam<FileCase> {};
TEST_P(RailsSwitch, File) { check(GetParam()); }
INSTANTIATE_TEST_SUITE_P(Every, RailsSwitch, ::testing::ValuesIn(cases), byName);

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
    writeFile(Content + "/plain", "");
    for (const char* application : {"linked", "dangling", "partly", "plain", "linked/app"}) {
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
}
