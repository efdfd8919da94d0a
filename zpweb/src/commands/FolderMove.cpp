// directory move: points a <Directory> block at another directory.
#include "commands/Commands.h"
#include "commands/shared/BlockLines.h"
#include "commands/shared/Expectations.h"

namespace zpweb {

namespace {

constexpr auto To = needed("TO", Kind::Path, "The other directory");

Outcome moveFolder(Transaction& change, const Site& site, const Arguments& given) {
    const auto blocks = blocksAskedFor(site, given);
    releaseDirectory(change, blocks, given[BlockDirectory]);
    expectOf(change, blocks, given[BlockDirectory], "",
             hasNoDirectory(blocks.value_or(BlocksOf{}), given[BlockDirectory]));
    return editSections(
        change, site, given, [&](const Block& block) { return hasSection(block, given[BlockDirectory]); },
        [&](ApacheHelper& helper, const std::string& staged, const std::string& name,
            const std::string& directory) {
            return helper.Apache_UpdateDirectoryTagPath(staged, name, directory, given[To]);
        });
}

}  // namespace

Command folderMove() {
    return {
        .words = "folder move",
        .summary = "Point a <Directory> block at another directory",
        .action = moveFolder,
        .parameters = {SiteName, BlockDirectory, To, OnPort},
        .operations = {"ApacheHelper::Apache_UpdateDirectoryTagPath"},
        .examples = {"folder move shop.example /srv/shop/files "
                     "/srv/shop/files-2"},
    };
}

}  // namespace zpweb
