// directory delete: deletes a <Directory> block.
#include "commands/Commands.h"
#include "commands/shared/BlockLines.h"
#include "commands/shared/Expectations.h"

namespace zpweb {

namespace {

Outcome deleteFolder(Transaction& change, const Site& site, const Arguments& given) {
    const auto blocks = blocksAskedFor(site, given);
    const std::string directory = given[BlockDirectory];
    releaseDirectory(change, blocks, directory);
    expectOf(change, blocks, directory, "", hasNoDirectory(blocks.value_or(BlocksOf{}), directory));
    return goneIsUpToDate(editSections(
        change, site, given, [&](const Block& block) { return hasSection(block, given[BlockDirectory]); },
        [&](ApacheHelper& helper, const std::string& staged, const std::string& name,
            const std::string& path) { return helper.Apache_deleteDirectoryTag(staged, name, path); }));
}

}  // namespace

Command folderDelete() {
    return {
        .words = "folder delete",
        .summary = "Delete a <Directory> block",
        .action = deleteFolder,
        .parameters = {SiteName, BlockDirectory, OnPort},
        .operations = {"ApacheHelper::Apache_deleteDirectoryTag"},
        .examples = {"folder delete shop.example /srv/shop/files"},
    };
}

}  // namespace zpweb
