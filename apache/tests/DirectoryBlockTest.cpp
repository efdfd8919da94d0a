// <Directory> blocks of a site: added, refilled, moved and deleted.
#include <ApacheHelper.h>
#include <gtest/gtest.h>

#include "support/FileCase.h"
#include "support/Files.h"
#include "support/Text.h"

using namespace zp::test;

namespace {

using Operation = std::function<int(const std::string&)>;

const std::string Folder = "/srv/example.com/www";

Operation add(StringVector directives, const std::string& domain = "example.com") {
    return [=](auto& file) mutable {
        return ApacheHelper().Apache_addDirectoryTag(file, domain, "/srv/new", directives);
    };
}
Operation refill(StringVector directives, const std::string& path = Folder) {
    return [=](auto& file) mutable {
        return ApacheHelper().Apache_UpdateDirectoryDirectives(file, "example.com", path, directives);
    };
}
Operation move(const std::string& from, const std::string& to = "/srv/new") {
    return [=](auto& file) {
        return ApacheHelper().Apache_UpdateDirectoryTagPath(file, "example.com", from, to);
    };
}
Operation erase(const std::string& path = Folder) {
    return [=](auto& file) { return ApacheHelper().Apache_deleteDirectoryTag(file, "example.com", path); };
}

// Blocks outside the site, before and behind it, carry the same folder.
const std::string Site = lines({
    "<Directory \"/srv/example.com/www\">",
    "</Directory>",
    "",
    "<VirtualHost 10.0.0.6:80>",
    "\tServerName other.example",
    "\t<Directory /srv/example.com/www>",
    "\t</Directory>",
    "</VirtualHost>",
    "<VirtualHost 10.0.0.5:80>",
    "\tServerName  EXAMPLE.com",
    "#\t<Directory /srv/commented/out>",
    "\t<Directory \"/srv/example.com\">",
    "\t\tAllowOverride All",
    "\t</Directory>",
    "  <directory  \"/SRV/example.com/www\" >",
    "\t\tOptions None",
    "",
    "\t\t# kept as long as the block",
    "   </DIRECTORY x",
    "\t<Directory \"/srv/example.com/www\">",
    "\t</Directory>",
    "</VirtualHost>",
    "\t<Directory \"/srv/example.com/www\">",
    "\t</Directory>",
});
const std::string Packed = withoutEmptyLines(Site);
const std::string Contents = "\t\tOptions None\n\t\t# kept as long as the block\n   </DIRECTORY x\n";
const std::string Bare = with(Packed, "\"/srv/example.com\"", "/srv/example.com");
const std::string OpenQuote = with(Packed, "\"/srv/example.com\"", "\"/srv/example.com");
const std::string Pattern = with(Packed, "<Directory \"/srv/example.com\"", "<DirectoryMatch \"/srv\"");
const std::string Endless =
    lines({"<VirtualHost *>", "ServerName example.com", "<Directory \"/srv/example.com/www\">",
           "</VirtualHost>", "<Directory \"/srv/other\">", "</Directory>"});

const FileCase cases[] = {
    {"AddWritesBeforeTheFirstBlockOfTheSite", Site, add({"Options +ExecCGI", "AllowOverride none"}), 0,
     with(Packed, "\t<Directory \"/srv/example.com\">",
          "\t<Directory \"/srv/new\">\n\t\tOptions +ExecCGI\n\t\tAllowOverride none\n\t</Directory>\n"
          "\t<Directory \"/srv/example.com\">")},
    {"AddNeedsNoQuotesInTheBlockBehindIt", Bare, add({}), 0,
     with(Bare, "\t<Directory /srv/example.com>",
          "\t<Directory \"/srv/new\">\n\t</Directory>\n\t<Directory /srv/example.com>")},
    {"AddToAnUnknownSite", Site, add({}, "absent.example"), 4},
    {"AddToASiteWithoutBlocks",
     "<VirtualHost *>\nServerName example.com\n</VirtualHost>\n<Directory \"/\">\n", add({}), 4},
    {"RefillReplacesWhatIsInside", Site, refill({"Options All", "AllowOverride none"}), 0,
     with(Packed, Contents, "\t\tOptions All\n\t\tAllowOverride none\n\t</Directory>\n")},
    {"RefillWithNothing", Site, refill({}), 0, with(Packed, Contents, "\t</Directory>\n")},
    {"RefillOfAnUnknownFolder", Site, refill({}, "/srv/absent"), 4},
    {"RefillWantsQuotesInEveryBlockBefore", Bare, refill({}), 3},
    {"RefillWantsBothQuotes", OpenQuote, refill({}), 3},
    {"RefillTakesALongerTagForOneWithoutQuotes", Pattern, refill({}), 3},

    {"MoveChangesTheOpeningLine", Site, move(Folder), 0,
     with(Packed, "  <directory  \"/SRV/example.com/www\" >", "\t<Directory \"/srv/new\">")},
    {"MoveFindsABareFolderByItsClosingMark", Bare, move("/srv/EXAMPLE.com>"), 0,
     with(Bare, "\t<Directory /srv/example.com>", "\t<Directory \"/srv/new\">")},
    {"MoveDoesNotFindItWithout", Bare, move("/srv/example.com"), 4},
    {"MoveWantsBothQuotes", OpenQuote, move(Folder), 3},
    {"DeleteDropsTheFirstBlockOfTheFolder", Site, erase(), 0,
     without(Packed, "  <directory  \"/SRV/example.com/www\" >\n" + Contents)},
    {"DeleteOfAnUnknownFolder", Site, erase("/srv/absent"), 4},
    {"DeleteWantsQuotesInEveryBlockBefore", Bare, erase(), 3},
    {"DeleteWantsBothQuotes", OpenQuote, erase(), 3},

    {"RefillOfABlockThatNeverEnds", Endless, refill({}), 3},
    {"DeleteOfABlockThatNeverEnds", Endless, erase(), 3},
    {"DeleteOfABlockThatTheFileCuts", Endless.substr(0, Endless.find("</")), erase(), 3},
    {"MoveOfABlockThatNeverEnds", Endless, move(Folder), 0,
     with(Endless, "<Directory \"/srv/example.com/www", "\t<Directory \"/srv/new")},
    {"LinesOf2024CharactersAreSeen",
     std::string(2024, 'x') + "\n" + Packed + std::string(2025, 'y') + "\nListen 80\n", move(Folder), 0,
     std::string(2024, 'x') + "\n" +
         with(Packed, "  <directory  \"/SRV/example.com/www\" >", "\t<Directory \"/srv/new\">")},
};

}  // namespace

class DirectoryBlock : public ::testing::TestWithParam<FileCase> {};
TEST_P(DirectoryBlock, File) {
    FileCase fileCase = GetParam();
    fileCase.beside = {".zpbackup.rt"};
    check(fileCase);
}
INSTANTIATE_TEST_SUITE_P(Operation, DirectoryBlock, ::testing::ValuesIn(cases), byName);
