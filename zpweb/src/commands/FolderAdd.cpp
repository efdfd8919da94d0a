// folder add: adds a <Directory> block before a site's first.
#include "commands/Commands.h"
#include "commands/shared/BlockLines.h"

namespace zpweb {

namespace {

Outcome add(Transaction& change, const Site& site, const Arguments& given) {
    return editSections(
        change, site, given, [](const Block&) { return true; },
        [&](ApacheHelper& helper, const std::string& staged, const std::string& name,
            const std::string& folder) {
            StringVector lines = given[BlockLines];
            return helper.Apache_addDirectoryTag(staged, name, folder, lines);
        });
}

}  // namespace

Command folderAdd() {
    return {
        .words = "folder add",
        .summary = "Add a <Directory> block before a website's first",
        .action = add,
        .parameters = {SiteName, BlockFolder, BlockLines, OnPort},
        .operations = {"ApacheHelper::Apache_addDirectoryTag"},
        .examples = {"folder add shop.example /srv/shop/files --line 'Require all granted'"},
    };
}

}  // namespace zpweb
