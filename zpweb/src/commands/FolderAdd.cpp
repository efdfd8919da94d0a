// directory add: adds a <Directory> block before a site's first.
#include "commands/Commands.h"
#include "commands/shared/BlockLines.h"
#include "commands/shared/Expectations.h"

namespace zpweb {

namespace {

Outcome addFolder(Transaction& change, const Site& site, const Arguments& given) {
    const auto blocks = blocksAskedFor(site, given);
    const std::string directory = given[BlockDirectory];
    releaseDirectory(change, blocks, directory);
    expectOf(change, blocks, directory, "lines",
             directoryHas(blocks.value_or(BlocksOf{}), directory, given[BlockLines], Holders::All));
    return editSections(
        change, site, given, [](const Block&) { return true; },
        [&](ApacheHelper& helper, const std::string& staged, const std::string& name,
            const std::string& path) {
            StringVector lines = given[BlockLines];
            return helper.Apache_addDirectoryTag(staged, name, path, lines);
        });
}

}  // namespace

Command folderAdd() {
    return {
        .words = "folder add",
        .summary = "Add a <Directory> block before a website's first",
        .action = addFolder,
        .parameters = {SiteName, BlockDirectory, BlockLines, OnPort},
        .operations = {"ApacheHelper::Apache_addDirectoryTag"},
        .examples = {"folder add shop.example /srv/shop/files --line 'Require all granted'"},
    };
}

}  // namespace zpweb
