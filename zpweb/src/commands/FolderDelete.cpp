// folder delete: deletes a <Directory> block.
#include "commands/Commands.h"
#include "commands/shared/BlockLines.h"

namespace zpweb {

namespace {

Outcome remove(Transaction& change, const Site& site, const Arguments& given) {
    return goneIsUpToDate(editSections(
        change, site, given, [&](const Block& block) { return hasSection(block, given[BlockFolder]); },
        [&](ApacheHelper& helper, const std::string& staged, const std::string& name,
            const std::string& folder) { return helper.Apache_deleteDirectoryTag(staged, name, folder); }));
}

}  // namespace

Command folderDelete() {
    return {
        .words = "folder delete",
        .summary = "Delete a <Directory> block",
        .action = remove,
        .parameters = {SiteName, BlockFolder, OnPort},
        .operations = {"ApacheHelper::Apache_deleteDirectoryTag"},
        .examples = {"folder delete shop.example /srv/shop/files"},
    };
}

}  // namespace zpweb
