// Stopping, starting and deleting a site: what becomes of the configuration.
#include <CZPWebsite.h>
#include <gtest/gtest.h>

#include "support/FileCase.h"
#include "support/Files.h"
#include "support/Sandbox.h"
#include "support/Text.h"
#include "support/Watching.h"

using namespace zp::test;

namespace {

using Operation = std::function<int(const std::string&)>;

Operation stop(const char* domain = "example.com") {
    return [=](auto& file) { return CZPWebsite(nullptr, file.c_str()).StopWebsite(domain); };
}
Operation start(const char* domain = "example.com") {
    return [=](auto& file) { return CZPWebsite(nullptr, file.c_str()).StartWebsite(domain); };
}
Operation erase(const char* domain = "example.com") {
    return [=](auto& file) { return CZPWebsite(nullptr, file.c_str()).DeleteWebsite(domain, '0'); };
}

// Two blocks of the site; a comment, an empty line and marks of every kind.
const std::string Running = lines({
    "# The main server",
    "",
    "<VirtualHost 10.0.0.5:80>",
    "\tServerName example.com",
    "",
    "\t# of the site",
    "\tDocumentRoot \"/var/www/html\"",
    "#\tRedirect / /closed",
    "  \t",
    "</VirtualHost>",
    "",
    "<VirtualHost 10.0.0.6:80>",
    "\tServerName other.example",
    "",
    "\t# of the other",
    "</VirtualHost>",
    "Listen 80",
    "<VirtualHost 10.0.0.5:443>",
    "\tservername  EXAMPLE.com",
    "</VirtualHost>",
});
const std::string Stopped = lines({
    "# The main server",
    "\t# of the site",
    "#\tRedirect / /closed",
    "#<VirtualHost 10.0.0.5:80>",
    "#\tServerName example.com",
    "#\tDocumentRoot \"/var/www/html\"",
    "#  \t",
    "#</VirtualHost>",
    "\t# of the other",
    "<VirtualHost 10.0.0.6:80>",
    "\tServerName other.example",
    "</VirtualHost>",
    "Listen 80",
    "#<VirtualHost 10.0.0.5:443>",
    "#\tservername  EXAMPLE.com",
    "#</VirtualHost>",
});
const std::string StartedAgain = lines({
    "# The main server",
    "\t# of the site",
    "#\tRedirect / /closed",
    "<VirtualHost 10.0.0.5:80>",
    "\tServerName example.com",
    "\tDocumentRoot \"/var/www/html\"",
    "  \t",
    "</VirtualHost>",
    "\t# of the other",
    "<VirtualHost 10.0.0.6:80>",
    "\tServerName other.example",
    "</VirtualHost>",
    "Listen 80",
    "<VirtualHost 10.0.0.5:443>",
    "\tservername  EXAMPLE.com",
    "</VirtualHost>",
});
const std::string WithoutSite = lines({
    "# The main server",
    "<VirtualHost 10.0.0.6:80>",
    "\tServerName other.example",
    "",
    "\t# of the other",
    "</VirtualHost>",
    "Listen 80",
});

std::string block(const std::string& name, const std::string& mark = "") {
    return mark + "<VirtualHost *:80>\n" + mark + "\tServerName " + name + "\n" + mark + "</VirtualHost>\n";
}
const std::string Site = block("example.com");
const std::string Open = "<VirtualHost *:80>\n\tServerName open.example\n";

const FileCase cases[] = {
    {"StopPutsOneMarkBeforeEveryLine", Running, stop(), 30, Stopped},
    {"StopOfAStoppedSiteChangesNothing", Stopped, stop(), 30, {}, "", {"#"}},
    {"StopOfAnUnknownSite", Running, stop("absent.example"), 30, {}, "", {"#"}},
    {"StopAsksForTheWholeName",
     block("example.com ") + block("example.com:80") + block(""),
     stop(),
     30,
     {},
     "",
     {"#"}},
    {"StopLosesABlockThatNeverEnds", Site + Open, stop(), 30, block("example.com", "#")},
    {"StopTakesBlocksThatRunTogetherForOne", Open + Site, stop(), 30,
     "#<VirtualHost *:80>\n#\tServerName open.example\n" + block("example.com", "#")},
    {"StopGoesByAnyNameOfABlock", with(Site, "</", "ServerName other.example\n</"), stop(), 30,
     with(block("example.com", "#"), "#</", "#ServerName other.example\n#</")},
    {"StopPassesOverABlockWithoutAddress",
     "<VirtualHost>\nServerName example.com\n</VirtualHost>\n<VirtualHost *> # <VirtualHost>\nServerName "
     "example.com\n",
     stop(),
     30,
     {},
     "",
     {"#"}},
    {"StopSeesLinesOf29999Characters",
     Site + std::string(29999, 'x') + "\nListen 80\n" + std::string(30000, 'y') + "\n" + Open, stop(), 30,
     block("example.com", "#") + std::string(29999, 'x') + "\nListen 80\n"},

    {"StartTakesTheMarksAway", Stopped, start(), 29, StartedAgain},
    {"StartOfARunningSiteTakesEveryMarkInIt", Running, start(), 29,
     with(withoutEmptyLines(Running), "#\tRedirect", "\tRedirect")},
    {"StartOfAnUnknownSite", Stopped, start("absent.example"), 29, {}, "", {"#"}},
    {"StartTakesAllMarksOfALineWithOneBeforeTheName",
     "##<VirtualHost *:80>\n  # ServerName example.com\n###</VirtualHost>\n", start(), 29,
     "<VirtualHost *:80>\n  # ServerName example.com\n</VirtualHost>\n"},
    {.name = "StartFailsAtALineOfMarksAlone",
     .before = "Listen 80\n\n" + with(block("example.com", "#"), "#<", "#\n#<") +
               with(block("example.com", "#"), "#</", "##\n#</"),
     .operation =
         [](auto& file) {
             EXPECT_THROW(start()(file), std::out_of_range);
             return 0;
         },
     .beside = {"#"}},

    {"DeleteDropsEveryBlockOfTheSite", Running, erase(), 24, WithoutSite},
    {"DeleteDropsAStoppedSite", Stopped, erase(), 24,
     lines({"# The main server", "\t# of the site", "#\tRedirect / /closed", "\t# of the other",
            "<VirtualHost 10.0.0.6:80>", "\tServerName other.example", "</VirtualHost>", "Listen 80"})},
    {"DeleteOfAnUnknownSiteDropsEmptyLinesBetweenBlocks", "\n" + WithoutSite + "\n \n",
     erase("absent.example"), 24, WithoutSite + " \n"},
    {"DeleteGoesByTheLastNameOfABlock",
     with(Site, "</", "ServerName other.example\n</") +
         with(block("other.example"), "</", "ServerName example.com\n</"),
     erase(), 24, with(Site, "</", "ServerName other.example\n</")},
    {"DeleteTakesANamelessBlockBehindTheSiteAlong",
     Site + "<VirtualHost *>\n</VirtualHost>\n" + block("other.example") +
         "<VirtualHost *>\n</VirtualHost>\n",
     erase(), 24, block("other.example") + "<VirtualHost *>\n</VirtualHost>\n"},
    {"DeleteKeepsAnOpenBlockUnlessItIsTheLast",
     with(Open, "open.example", "example.com") + block("other.example") + Open, erase(), 24,
     with(Open, "open.example", "example.com") + block("other.example")},
    {"DeleteAsksForTheWholeClosingTag", with(Site, "</", "</VirtualHost >\n</"), erase(), 24, ""},
    {"DeleteSeesLinesOf1022Characters",
     std::string(1022, 'x') + "\n" + Site + "Listen 80\n" + std::string(1023, 'y') + "\nListen 81\n",
     erase(), 24, std::string(1022, 'x') + "\nListen 80\n"},
};

}  // namespace

class WebsiteSwitch : public ::testing::TestWithParam<FileCase> {};
TEST_P(WebsiteSwitch, File) { check(GetParam()); }
INSTANTIATE_TEST_SUITE_P(Operation, WebsiteSwitch, ::testing::ValuesIn(cases), byName);

TEST(WebsiteSwitchFailure, LeavesTheConfiguration) {
    std::string text = Site;
    while (text.size() < 8000) {
        text += "Listen 80\n";
    }
    const std::pair<const char*, void (*)(const std::string&)> places[] = {
        {"read-only", makeReadOnly}, {"full", [](const std::string& folder) {
                                          writeFile(folder + "/rest", std::string(64 * 1024, 'x'));
                                      }}};
    for (const auto& [place, prepare] : places) {
        const std::string folder = scratch(place);
        mountSmallDisk(folder, "76k");
        writeFile(folder + "/httpd.conf", text);
        prepare(folder);
        const std::tuple<Operation, int, std::string> operations[] = {
            {stop(), 22, ""}, {start(), 22, ""}, {erase("a"), 23, "Error opening TEMPFILE file"}};
        for (const auto& [operation, result, printed] : operations) {
            const CapturedOutput output;
            EXPECT_EQ(operation(folder + "/httpd.conf"), result) << place;
            EXPECT_EQ(output.text(), place == std::string("full") ? "" : printed) << place;
            EXPECT_EQ(readFile(folder + "/httpd.conf"), text) << place;
            EXPECT_EQ(namesIn(folder).size(), place == std::string("full") ? 2U : 1U) << place;
        }
    }
}

TEST(WebsiteStatus, IsReadFromTheServerNameLine) {
    const std::tuple<std::string, int, std::string> cases_[] = {
        {block("example.com"), 34, "example.com\n"},
        {block("EXAMPLE.com", "#"), 33, "EXAMPLE.com\n"},
        {block("example.com", " \t# "), 33, "example.com\n"},
        {with(block("example.com", "#"), "#\tServerName", "ServerName"), 34, "example.com\n"},
        {Open + block("example.com", "#"), 33, "example.com\n"},
        {"ServerName example.com\n" + block("other.example") + "ServerName example.com\n", 1, ""},
        {with(block("other.example"), "</", "ServerName example.com\n</"), 1, ""},
        {"<VirtualHost *>x</VirtualHost>\nServerName example.com\n", 34, "example.com\n"},
        {"<VirtualHost *>\nx</VirtualHost>\nServerName example.com\n", 1, ""},
        {"<VirtualHost *>\nServerName\texample.com\nServerName\nServerName \texample.com\n", 34,
         "example.com\n"},
        {block("example.com ") + block("example.com:80") + "<VirtualHostX *>\nServerName example.com\n", 1,
         ""},
        {std::string(1023, 'x') + "\n" + Site, 34, "example.com\n"},
        {std::string(1024, 'x') + "\n" + Site, 1, ""}};
    const std::string file = scratch("httpd.conf");
    for (const auto& [text, result, printed] : cases_) {
        writeFile(file, text);
        const CapturedOutput output;
        EXPECT_EQ(CZPWebsite(nullptr, file.c_str()).GetWebsiteStatus("example.com"), result) << text;
        EXPECT_EQ(output.text(), printed) << text;
    }
}
