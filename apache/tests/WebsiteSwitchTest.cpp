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
const std::string OneSite = block("example.com");
const std::string Open = "<VirtualHost *:80>\n\tServerName open.example\n";

const FileCase websiteSwitchCases[] = {
    // One mark, so that a start finds the way back; comments inside go with their site.
    {"StopPutsOneMarkBeforeEveryLine", Running, stop(), R"(30
2,5,11,14-
3-<VirtualHost 10.0.0.5:80>
4-	ServerName example.com
7-	DocumentRoot "/var/www/html"
9-  	
10,20-</VirtualHost>
4+#<VirtualHost 10.0.0.5:80>
5+#	ServerName example.com
6+#	DocumentRoot "/var/www/html"
7+#  	
8,16+#</VirtualHost>
9+	# of the other
15-	# of the other
18-<VirtualHost 10.0.0.5:443>
19-	servername  EXAMPLE.com
14+#<VirtualHost 10.0.0.5:443>
15+#	servername  EXAMPLE.com)"},
    // A second mark would outlive the start.
    {"StopOfAStoppedSiteChangesNothing", Running, twice(stop()), R"(30030, #
2,5,11,14-
3-<VirtualHost 10.0.0.5:80>
4-	ServerName example.com
7-	DocumentRoot "/var/www/html"
9-  	
10,20-</VirtualHost>
4+#<VirtualHost 10.0.0.5:80>
5+#	ServerName example.com
6+#	DocumentRoot "/var/www/html"
7+#  	
8,16+#</VirtualHost>
9+	# of the other
15-	# of the other
18-<VirtualHost 10.0.0.5:443>
19-	servername  EXAMPLE.com
14+#<VirtualHost 10.0.0.5:443>
15+#	servername  EXAMPLE.com)"},
    // Nobody else is stopped.
    {"StopOfAnUnknownSite", Running, stop("absent.example"), "30, #"},
    // What was found stays found, whatever follows.
    {"StopOfASiteBeforeAnother", OneSite + block("other.example"), stop(), R"(30
1-<VirtualHost *:80>
2-	ServerName example.com
3-</VirtualHost>
1+#<VirtualHost *:80>
2+#	ServerName example.com
3+#</VirtualHost>)"},
    // A name with a port or a blank is another.
    {"StopAsksForTheWholeName", block("example.com ") + block("example.com:80") + block(""), stop(),
     "30, #"},
    // A known loss; whoever mends it must see it here.
    {"StopLosesABlockThatNeverEnds", OneSite + Open, stop(), R"(30
1,4-<VirtualHost *:80>
2-	ServerName example.com
3-</VirtualHost>
5-	ServerName open.example
1+#<VirtualHost *:80>
2+#	ServerName example.com
3+#</VirtualHost>)"},
    // Without an end between them both are stopped.
    {"StopTakesBlocksThatRunTogetherForOne", Open + OneSite, stop(), R"(30
1,3-<VirtualHost *:80>
2-	ServerName open.example
4-	ServerName example.com
5-</VirtualHost>
1,3+#<VirtualHost *:80>
2+#	ServerName open.example
4+#	ServerName example.com
5+#</VirtualHost>)"},
    // The site answers by each of its names.
    {"StopGoesByAnyNameOfABlock", with(OneSite, "</", "ServerName other.example\n</"), stop(), R"(30
1-<VirtualHost *:80>
2-	ServerName example.com
3-ServerName other.example
4-</VirtualHost>
1+#<VirtualHost *:80>
2+#	ServerName example.com
3+#ServerName other.example
4+#</VirtualHost>)"},
    // Such a block is none of the server's.
    {"StopPassesOverABlockWithoutAddress",
     "<VirtualHost>\nServerName example.com\n</VirtualHost>\n<VirtualHost *> # <VirtualHost>\nServerName "
     "example.com\n</VirtualHost>\n",
     stop(), "30, #"},
    // Stopped and started is as before, comments of its own aside.
    {"StartTakesTheMarksAway", Running, inTurn(stop(), start()), R"(30029
2,5,11,14-
2+	# of the site
3+#	Redirect / /closed
6-	# of the site
8-#	Redirect / /closed
9+	# of the other
15-	# of the other)"},
    // A known loss: comments inside become lines.
    {"StartOfARunningSiteTakesEveryMarkInIt", Running, start(), R"(29
2,5,11,14-
8-#	Redirect / /closed
6+	Redirect / /closed)"},
    // A stopped site is not started by another's name.
    {"StartOfAnUnknownSite", Running, inTurn(stop(), start("absent.example")), R"(30029, #
2,5,11,14-
3-<VirtualHost 10.0.0.5:80>
4-	ServerName example.com
7-	DocumentRoot "/var/www/html"
9-  	
10,20-</VirtualHost>
4+#<VirtualHost 10.0.0.5:80>
5+#	ServerName example.com
6+#	DocumentRoot "/var/www/html"
7+#  	
8,16+#</VirtualHost>
9+	# of the other
15-	# of the other
18-<VirtualHost 10.0.0.5:443>
19-	servername  EXAMPLE.com
14+#<VirtualHost 10.0.0.5:443>
15+#	servername  EXAMPLE.com)"},
    // However many there are.
    {"StartTakesAllMarksOfALineWithOneBeforeTheName",
     "##<VirtualHost *:80>\n  # ServerName example.com\n###</VirtualHost>\n", start(), R"(29
1-##<VirtualHost *:80>
1+<VirtualHost *:80>
3-###</VirtualHost>
3+</VirtualHost>)"},
    // A known failure, which leaves the file whole.
    {"StartFailsAtALineOfMarksAlone",
     "Listen 80\n\n" + with(block("example.com", "#"), "#<", "#\n#<") +
         with(block("example.com", "#"), "#</", "##\n#</"),
     [](auto& file) {
         EXPECT_THROW(start()(file), std::out_of_range);
         return 0;
     },
     "0, #"},
    // A file that cannot be written stays as it is.
    {"DeleteWithoutAScratchFile", OneSite,
     [](auto& file) {
         makeReadOnly(file.substr(0, file.rfind('/')));
         return erase()(file);
     },
     R"(23
> Error opening TEMPFILE file (no newline))"},
    // A block that is left would go on serving it.
    {"DeleteDropsEveryBlockOfTheSite", Running, erase(), R"(24
2,5,11-
3-<VirtualHost 10.0.0.5:80>
4-	ServerName example.com
6-	# of the site
7-	DocumentRoot "/var/www/html"
8-#	Redirect / /closed
9-  	
10,20-</VirtualHost>
18-<VirtualHost 10.0.0.5:443>
19-	servername  EXAMPLE.com)"},
    // Commented out, it is still the site.
    {"DeleteDropsAStoppedSite", Running, inTurn(stop(), erase()), R"(30024
2,5,11,14-
3-<VirtualHost 10.0.0.5:80>
4-	ServerName example.com
7-	DocumentRoot "/var/www/html"
9-  	
10,20-</VirtualHost>
4+	# of the other
15-	# of the other
18-<VirtualHost 10.0.0.5:443>
19-	servername  EXAMPLE.com)"},
    // And nothing else.
    {"DeleteOfAnUnknownSiteDropsEmptyLinesBetweenBlocks", "\n" + Running + "\n \n", erase("absent.example"),
     R"(24
1,3,12,22-)"},
    // Other than a stop: a known difference.
    {"DeleteGoesByTheLastNameOfABlock",
     with(OneSite, "</", "ServerName other.example\n</") +
         with(block("other.example"), "</", "ServerName example.com\n</"),
     erase(), R"(24
5-<VirtualHost *:80>
6-	ServerName other.example
7-ServerName example.com
8-</VirtualHost>)"},
    // A known loss; whoever mends it must see it here.
    {"DeleteTakesANamelessBlockBehindTheSiteAlong",
     OneSite + "<VirtualHost *>\n</VirtualHost>\n" + block("other.example") +
         "<VirtualHost *>\n</VirtualHost>\n",
     erase(), R"(24
2-	ServerName example.com
3,5-</VirtualHost>
4-<VirtualHost *>
6-<VirtualHost *:80>)"},
    // What somebody left half written is not lost.
    {"DeleteKeepsAnOpenBlockUnlessItIsTheLast",
     with(Open, "open.example", "example.com") + block("other.example") + Open, erase(), R"(24
6-<VirtualHost *:80>
7-	ServerName open.example)"},
    // A tag that cannot be read ends no block.
    {"DeleteAsksForTheWholeClosingTag", with(OneSite, "</", "</VirtualHost >\n</"), erase(), R"(24
1-<VirtualHost *:80>
2-	ServerName example.com
3-</VirtualHost >
4-</VirtualHost>)"},
};

}  // namespace

class WebsiteSwitch : public ::testing::TestWithParam<FileCase> {};
TEST_P(WebsiteSwitch, File) { check(GetParam()); }
INSTANTIATE_TEST_SUITE_P(Operation, WebsiteSwitch, ::testing::ValuesIn(websiteSwitchCases), byName);

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
        {std::string(1023, 'x') + "\n" + OneSite, 34, "example.com\n"},
        {std::string(1024, 'x') + "\n" + OneSite, 1, ""}};
    const std::string file = scratch("httpd.conf");
    for (const auto& [text, result, printed] : cases_) {
        writeFile(file, text);
        const CapturedOutput output;
        EXPECT_EQ(CZPWebsite(nullptr, file.c_str()).GetWebsiteStatus("example.com"), result) << text;
        EXPECT_EQ(output.text(), printed) << text;
    }
}
