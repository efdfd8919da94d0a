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

// Blocks outside the site, before and behind it, carry the same folder.
const std::string Site = collected("samples/directory-blocks.conf");
const std::string Packed = withoutEmptyLines(Site);
const std::string Bare = with(Packed, "\"/srv/example.com\"", "/srv/example.com");
const std::string OpenQuote = with(Packed, "\"/srv/example.com\"", "\"/srv/example.com");
const std::string Pattern = with(Packed, "<Directory \"/srv/example.com\"", "<DirectoryMatch \"/srv\"");
const std::string Endless =
    lines({"<VirtualHost *>", "ServerName example.com", "<Directory \"/srv/example.com/www\">",
           "</VirtualHost>", "<Directory \"/srv/other\">", "</Directory>"});

const FileCase cases[] = {
    {"AddWritesBeforeTheFirstBlockOfTheSite", Site, add({"Options +ExecCGI", "AllowOverride none"})},
    {"AddNeedsNoQuotesInTheBlockBehindIt", Bare, add({})},
    {"AddToASiteWithoutBlocks",
     "<VirtualHost *>\nServerName example.com\n</VirtualHost>\n<Directory \"/\">\n", add({})},
    {"RefillReplacesWhatIsInside", Site, refill({"Options All", "AllowOverride none"})},
    {"RefillWithNothing", Site, refill({})},
    {"RefillOfAnUnknownFolder", Site, refill({}, "/srv/absent")},
    {"RefillWantsQuotesInEveryBlockBefore", Bare, refill({})},
    {"RefillWantsBothQuotes", OpenQuote, refill({})},
    {"RefillTakesALongerTagForOneWithoutQuotes", Pattern, refill({})},
    {"MoveChangesTheOpeningLine", Site, move(Folder)},
    {"MoveFindsABareFolderByItsClosingMark", Bare, move("/srv/EXAMPLE.com>")},
    {"MoveDoesNotFindItWithout", Bare, move("/srv/example.com")},
    {"MoveWantsBothQuotes", OpenQuote, move(Folder)},
    {"DeleteDropsTheFirstBlockOfTheFolder", Site, erase()},
    {"DeleteOfAnUnknownFolder", Site, erase("/srv/absent")},
    {"DeleteWantsQuotesInEveryBlockBefore", Bare, erase()},
    {"DeleteWantsBothQuotes", OpenQuote, erase()},
    {"RefillOfABlockThatNeverEnds", Endless, refill({})},
    {"DeleteOfABlockThatNeverEnds", Endless, erase()},
    {"DeleteOfABlockThatTheFileCuts", Endless.substr(0, Endless.find("</")), erase()},
    {"MoveOfABlockThatNeverEnds", Endless, move(Folder)},
};

}  // namespace

class DirectoryBlock : public ::testing::TestWithParam<FileCase> {};
TEST_P(DirectoryBlock, File) { check(GetParam()); }
INSTANTIATE_TEST_SUITE_P(Operation, DirectoryBlock, ::testing::ValuesIn(cases), byName);
