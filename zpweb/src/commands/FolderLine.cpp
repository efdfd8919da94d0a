// directory line: makes sure that a line is in a <Directory> block, or is not.
#include <algorithm>

#include "commands/Commands.h"
#include "commands/shared/BlockLines.h"
#include "commands/shared/Expectations.h"

namespace zpweb {

namespace {

constexpr auto TheLine = needed("LINE", Kind::Text, "The line");
constexpr auto Remove = flag("--remove", "Remove it instead");

// The library adds a line that is to be removed where there is none.
Outcome haveLine(Transaction& change, const Site& site, const Arguments& given) {
    const std::string directory = given[BlockDirectory];
    const bool remove = given[Remove];
    const bool there = std::any_of(site.places.begin(), site.places.end(),
                                   [&](const Place& place) { return hasSection(*place.block, directory); });
    const auto differs = [&](const Block& block) {
        return hasSection(block, directory) && hasLine(block, directory, given[TheLine]) == remove;
    };
    const bool any = std::any_of(site.places.begin(), site.places.end(),
                                 [&](const Place& place) { return differs(*place.block); });
    if (there && !any) {
        return done();  // already so
    }
    const std::string line = given[TheLine];
    const BlocksOf blocks = blocksAskedFor(site, given).value_or(BlocksOf{});
    expectOf(change, blocksAskedFor(site, given), directory, line,
             remove ? directoryLacks(blocks, directory, line)
                    : directoryHas(blocks, directory, {line}, Holders::Some));
    return editSections(
        change, site, given, differs,
        [&](ApacheHelper& helper, const std::string& staged, const std::string& name,
            const std::string& path) {
            return helper.Apache_UpdateVHDirectiveContents(staged, name, "<Directory \"" + path + "\"",
                                                           line, !remove);
        },
        isLine(line));
}

}  // namespace

Command folderLine() {
    return {
        .words = "folder line",
        .summary = "Make sure that a line is in a <Directory> block, or is not",
        .action = haveLine,
        .parameters = {SiteName, BlockDirectory, TheLine, Remove, OnPort},
        .operations = {"ApacheHelper::Apache_UpdateVHDirectiveContents"},
        .examples = {"folder line shop.example /srv/shop/files 'Options -Indexes'"},
    };
}

}  // namespace zpweb
