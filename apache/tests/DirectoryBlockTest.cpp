// <Directory> blocks of a site: added, refilled, moved and deleted.
#include <gtest/gtest.h>

#include "support/FileCase.h"
#include "support/Files.h"
#include "support/Operations.h"
#include "support/Text.h"

using namespace zp::test;

namespace {

const std::string Folder = "/srv/example.com/www";

FileOperation add(StringVector directives, const std::string& domain = "example.com") {
    return primitive(&ApacheHelper::Apache_addDirectoryTag, domain, "/srv/new", directives);
}
FileOperation refill(StringVector directives, const std::string& path = Folder) {
    return primitive(&ApacheHelper::Apache_UpdateDirectoryDirectives, "example.com", path, directives);
}
FileOperation move(const std::string& from, const std::string& to = "/srv/new") {
    return primitive(&ApacheHelper::Apache_UpdateDirectoryTagPath, "example.com", from, to);
}
FileOperation erase(const std::string& path = Folder) {
    return primitive(&ApacheHelper::Apache_deleteDirectoryTag, "example.com", path);
}

// Blocks outside the site, before and behind it, carry the same directory.
const std::string Blocks = collected("samples/directory-blocks.conf");
const std::string Packed = withoutEmptyLines(Blocks);
const std::string Bare = with(Packed, "\"/srv/example.com\"", "/srv/example.com");
const std::string OpenQuote = with(Packed, "\"/srv/example.com\"", "\"/srv/example.com");
const std::string Pattern = with(Packed, "<Directory \"/srv/example.com\"", "<DirectoryMatch \"/srv\"");
const std::string Endless =
    lines({"<VirtualHost *>", "ServerName example.com", "<Directory \"/srv/example.com/www\">",
           "</VirtualHost>", "<Directory \"/srv/other\">", "</Directory>"});

const FileCase directoryBlockCases[] = {
    // A later block may refine an earlier one, so that the place counts.
    {"AddWritesBeforeTheFirstBlockOfTheSite", Blocks, add({"Options +ExecCGI", "AllowOverride none"}),
     R"(0, .zpbackup.rt
3,17-
11+	<Directory "/srv/new">
12+		Options +ExecCGI
13+		AllowOverride none
14+	</Directory>)"},
    // Files of other tools quote nothing.
    {"AddNeedsNoQuotesInTheBlockBehindIt", Bare, add({}), R"(0, .zpbackup.rt
11+	<Directory "/srv/new">
12+	</Directory>)"},
    // It says so, and adds nothing behind the site.
    {"AddToASiteWithoutBlocks",
     "<VirtualHost *>\nServerName example.com\n</VirtualHost>\n<Directory \"/\">\n", add({}),
     "4, .zpbackup.rt"},
    // Neither tag changes, and no other directory does.
    {"RefillReplacesWhatIsInside", Blocks, refill({"Options All", "AllowOverride none"}), R"(0, .zpbackup.rt
3,17-
16-		Options None
18-		# kept as long as the block
19-   </DIRECTORY x
15+		Options All
16+		AllowOverride none
17+	</Directory>)"},
    // A block may be emptied.
    {"RefillWithNothing", Blocks, refill({}), R"(0, .zpbackup.rt
3,17-
16-		Options None
18-		# kept as long as the block
19-   </DIRECTORY x
15+	</Directory>)"},
    // An unknown directory is reported, and no file is written.
    {"RefillOfAnUnknownFolder", Blocks, refill({}, "/srv/absent"), "4, .zpbackup.rt"},
    // An unquoted block ends the search: a known limit.
    {"RefillWantsQuotesInEveryBlockBefore", Bare, refill({}), "3, .zpbackup.rt"},
    // And so does one with a quote missing.
    {"RefillWantsBothQuotes", OpenQuote, refill({}), "3, .zpbackup.rt"},
    // And so does a tag that only begins alike.
    {"RefillTakesALongerTagForOneWithoutQuotes", Pattern, refill({}), "3, .zpbackup.rt"},
    // What is inside moves along unchanged.
    {"MoveChangesTheOpeningLine", Blocks, move(Folder), R"(0, .zpbackup.rt
3,17-
15-  <directory  "/SRV/example.com/www" >
14+	<Directory "/srv/new">)"},
    // The way that callers have for unquoted paths.
    {"MoveFindsABareFolderByItsClosingMark", Bare, move("/srv/EXAMPLE.com>"), R"(0, .zpbackup.rt
11-	<Directory /srv/example.com>
11+	<Directory "/srv/new">)"},
    // A path must match whole, or a longer one would be moved.
    {"MoveDoesNotFindItWithout", Bare, move("/srv/example.com"), "4, .zpbackup.rt"},
    // Half a quote is no path.
    {"MoveWantsBothQuotes", OpenQuote, move(Folder), "3, .zpbackup.rt"},
    // One call takes one block.
    {"DeleteDropsTheFirstBlockOfTheFolder", Blocks, erase(), R"(0, .zpbackup.rt
3,17-
15-  <directory  "/SRV/example.com/www" >
16-		Options None
18-		# kept as long as the block
19-   </DIRECTORY x)"},
    // Nothing is written where nothing is found.
    {"DeleteOfAnUnknownFolder", Blocks, erase("/srv/absent"), "4, .zpbackup.rt"},
    // The same limit as for a refill.
    {"DeleteWantsQuotesInEveryBlockBefore", Bare, erase(), "3, .zpbackup.rt"},
    // The same again.
    {"DeleteWantsBothQuotes", OpenQuote, erase(), "3, .zpbackup.rt"},
    // The next directory's lines are not taken for this one's.
    {"RefillOfABlockThatNeverEnds", Endless, refill({}), "3, .zpbackup.rt"},
    // Nor are they deleted with it.
    {"DeleteOfABlockThatNeverEnds", Endless, erase(), "3, .zpbackup.rt"},
    // The end of the file is an end, too.
    {"DeleteOfABlockThatTheFileCuts", Endless.substr(0, Endless.find("</")), erase(), "3, .zpbackup.rt"},
    // The opening line alone is enough for a move.
    {"MoveOfABlockThatNeverEnds", Endless, move(Folder), R"(0, .zpbackup.rt
3-<Directory "/srv/example.com/www">
3+	<Directory "/srv/new">)"},
};

}  // namespace

class DirectoryBlock : public ::testing::TestWithParam<FileCase> {};
TEST_P(DirectoryBlock, File) { check(GetParam()); }
INSTANTIATE_TEST_SUITE_P(Operation, DirectoryBlock, ::testing::ValuesIn(directoryBlockCases), byName);
