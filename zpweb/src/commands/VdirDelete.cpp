// vdir delete: removes a directory's block.
#include "Results.h"
#include "commands/Commands.h"
#include "commands/shared/BlockLines.h"
#include "commands/shared/DirectoryBlock.h"
#include "conf/Bounds.h"

namespace zpweb {

namespace {

constexpr int BlockRemoved = zp::result::directory::Deleted;

Outcome remove(Transaction& change, const Site& site, const Arguments& given) {
    const std::string folder = given[Folder];
    auto blocks = runningBlocks(change.configuration(), site, given);
    if (!blocks.ok()) {
        return blocks.outcome();
    }
    std::erase_if(*blocks,
                  [&](const BlockAt& at) { return !hasSection(at.in(change.configuration()), folder); });
    if (blocks->empty()) {
        return isNotThere(folder + " has no block in this site");
    }
    return editBlocks(
        change, *blocks,
        {.bound = zp::conf::bound::None,
         .show = [&](View& view) { view.showSections(opensDirectory(folder)); },
         .run =
             [&](const std::string& staged, const std::string&) {
                 return CZPVirtualDirectory(nullptr, staged.c_str()).DeleteVirtualDirectory(folder.c_str());
             },
         .meaning = expecting("DeleteVirtualDirectory", {BlockRemoved})});
}

}  // namespace

Command vdirDelete() {
    return {
        .words = "vdir delete",
        .summary = "Remove a folder's block",
        .action = remove,
        .parameters = {SiteName, Folder, OnPort},
        .operations = {"CZPVirtualDirectory::DeleteVirtualDirectory"},
        .examples = {"vdir delete shop.example /home/anna/shop.example/www/html/files"},
    };
}

}  // namespace zpweb
