// Stopping, starting and deleting a site: what becomes of the configuration.
#include <CZPWebsite.h>
#include <gtest/gtest.h>

#include "support/FileCase.h"
#include "support/Files.h"
#include "support/Operations.h"
#include "support/Sandbox.h"
#include "support/Text.h"
#include "support/Watching.h"

using namespace zp::test;

namespace {

FileOperation stop(const char* domain = "example.com") { return onFile(&CZPWebsite::StopWebsite, domain); }
FileOperation start(const char* domain = "example.com") {
    return onFile(&CZPWebsite::StartWebsite, domain);
}
FileOperation erase(const char* domain = "example.com") {
    return onFile(&CZPWebsite::DeleteWebsite, domain, '0');
}

// Two blocks of the site; a comment, an empty line and marks of every kind.
const std::string Running = collected("samples/running-site.conf");
std::string block(const std::string& name, const std::string& mark = "") {
    return mark + "<VirtualHost *:80>\n" + mark + "\tServerName " + name + "\n" + mark + "</VirtualHost>\n";
}
const std::string Site = block("example.com");
const std::string Open = "<VirtualHost *:80>\n\tServerName open.example\n";

const FileCase cases[] = {
    {"StopPutsOneMarkBeforeEveryLine", Running, stop()},
    {"StopOfAStoppedSiteChangesNothing", Running, twice(stop())},
    {"StopOfAnUnknownSite", Running, stop("absent.example")},
    {"StopAsksForTheWholeName", block("example.com ") + block("example.com:80") + block(""), stop()},
    {"StopLosesABlockThatNeverEnds", Site + Open, stop()},
    {"StopTakesBlocksThatRunTogetherForOne", Open + Site, stop()},
    {"StopGoesByAnyNameOfABlock", with(Site, "</", "ServerName other.example\n</"), stop()},
    {"StopPassesOverABlockWithoutAddress",
     "<VirtualHost>\nServerName example.com\n</VirtualHost>\n<VirtualHost *> # <VirtualHost>\nServerName "
     "example.com\n",
     stop()},
    {"StartTakesTheMarksAway", Running, inTurn(stop(), start())},
    {"StartOfARunningSiteTakesEveryMarkInIt", Running, start()},
    {"StartOfAnUnknownSite", Running, inTurn(stop(), start("absent.example"))},
    {"StartTakesAllMarksOfALineWithOneBeforeTheName",
     "##<VirtualHost *:80>\n  # ServerName example.com\n###</VirtualHost>\n", start()},
    {"StartFailsAtALineOfMarksAlone",
     "Listen 80\n\n" + with(block("example.com", "#"), "#<", "#\n#<") +
         with(block("example.com", "#"), "#</", "##\n#</"),
     [](auto& file) {
         EXPECT_THROW(start()(file), std::out_of_range);
         return 0;
     }},
    {"DeleteWithoutAScratchFile", Site,
     [](auto& file) {
         makeReadOnly(file.substr(0, file.rfind('/')));
         return erase()(file);
     }},
    {"DeleteDropsEveryBlockOfTheSite", Running, erase()},
    {"DeleteDropsAStoppedSite", Running, inTurn(stop(), erase())},
    {"DeleteOfAnUnknownSiteDropsEmptyLinesBetweenBlocks", "\n" + Running + "\n \n",
     erase("absent.example")},
    {"DeleteGoesByTheLastNameOfABlock",
     with(Site, "</", "ServerName other.example\n</") +
         with(block("other.example"), "</", "ServerName example.com\n</"),
     erase()},
    {"DeleteTakesANamelessBlockBehindTheSiteAlong",
     Site + "<VirtualHost *>\n</VirtualHost>\n" + block("other.example") +
         "<VirtualHost *>\n</VirtualHost>\n",
     erase()},
    {"DeleteKeepsAnOpenBlockUnlessItIsTheLast",
     with(Open, "open.example", "example.com") + block("other.example") + Open, erase()},
    {"DeleteAsksForTheWholeClosingTag", with(Site, "</", "</VirtualHost >\n</"), erase()},
};

}  // namespace

class WebsiteSwitch : public ::testing::TestWithParam<FileCase> {};
TEST_P(WebsiteSwitch, File) { check(GetParam()); }
INSTANTIATE_TEST_SUITE_P(Operation, WebsiteSwitch, ::testing::ValuesIn(cases), byName);

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
