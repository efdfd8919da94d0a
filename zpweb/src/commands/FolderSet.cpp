// directory set: replaces the lines of a <Directory> block.
#include "commands/Commands.h"
#include "commands/shared/BlockLines.h"
#include "commands/shared/Expectations.h"

namespace zpweb {

namespace {

Outcome setFolder(Transaction& change, const Site& site, const Arguments& given) {
    const auto blocks = blocksAskedFor(site, given);
    const std::string directory = given[BlockDirectory];
    releaseDirectory(change, blocks, directory);
    expectOf(change, blocks, directory, "lines",
             directoryHas(blocks.value_or(BlocksOf{}), directory, given[BlockLines], Holders::Some));
    return editSections(
        change, site, given, [&](const Block& block) { return hasSection(block, given[BlockDirectory]); },
        [&](ApacheHelper& helper, const std::string& staged, const std::string& name,
            const std::string& path) {
            StringVector lines = given[BlockLines];
            return helper.Apache_UpdateDirectoryDirectives(staged, name, path, lines);
        });
}

}  // namespace

Command folderSet() {
    return {
        .words = "folder set",
        .summary = "Replace the lines of a <Directory> block",
        .action = setFolder,
        .parameters = {SiteName, BlockDirectory, BlockLines, OnPort},
        .operations = {"ApacheHelper::Apache_UpdateDirectoryDirectives"},
        .examples = {"folder set shop.example /srv/shop/files --line 'Require local'"},
    };
}

}  // namespace zpweb
