// folder move: points a <Directory> block at another directory.
#include "commands/Commands.h"
#include "commands/shared/BlockLines.h"
#include "commands/shared/Expectations.h"

namespace zpweb {

namespace {

constexpr auto To = needed("TO", Kind::Path, "The other folder");

Outcome move(Transaction& change, const Site& site, const Arguments& given) {
    const auto blocks = blocksAskedFor(site, given);
    releaseDirectory(change, blocks, given[BlockFolder]);
    expectOf(change, blocks, given[BlockFolder], "",
             hasNoDirectory(blocks.value_or(BlocksOf{}), given[BlockFolder]));
    return editSections(
        change, site, given, [&](const Block& block) { return hasSection(block, given[BlockFolder]); },
        [&](ApacheHelper& helper, const std::string& staged, const std::string& name,
            const std::string& folder) {
            return helper.Apache_UpdateDirectoryTagPath(staged, name, folder, given[To]);
        });
}

}  // namespace

Command folderMove() {
    return {
        .words = "folder move",
        .summary = "Point a <Directory> block at another folder",
        .action = move,
        .parameters = {SiteName, BlockFolder, To, OnPort},
        .operations = {"ApacheHelper::Apache_UpdateDirectoryTagPath"},
        .examples = {"folder move shop.example /srv/shop/files "
                     "/srv/shop/files-2"},
    };
}

}  // namespace zpweb
