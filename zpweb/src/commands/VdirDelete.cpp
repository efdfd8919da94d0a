// vdir delete: removes a directory's block.
#include "Results.h"
#include "commands/Commands.h"
#include "commands/shared/BlockLines.h"
#include "commands/shared/DirectoryBlock.h"
#include "conf/Bounds.h"

namespace zpweb {

namespace {

constexpr int BlockRemoved = zp::result::directory::Deleted;

Outcome deleteVdir(Transaction& change, const Site& site, const Arguments& given) {
    const std::string directory = given[Directory];
    auto blocks = runningBlocks(change.configuration(), site, given);
    if (!blocks.ok()) {
        return blocks.outcome();
    }
    std::erase_if(*blocks,
                  [&](const BlockAt& at) { return !hasSection(at.in(change.configuration()), directory); });
    if (blocks->empty()) {
        return isNotThere(directory + " has no block in this site");
    }
    return editBlocks(change, *blocks,
                      {.bound = zp::conf::bound::None,
                       .show = [&](View& view) { view.showSections(opensDirectory(directory)); },
                       .run =
                           [&](const std::string& staged, const std::string&) {
                               return CZPVirtualDirectory(nullptr, staged.c_str())
                                   .DeleteVirtualDirectory(directory.c_str());
                           },
                       .meaning = expecting("DeleteVirtualDirectory", {BlockRemoved})});
}

}  // namespace

Command vdirDelete() {
    return {
        .words = "vdir delete",
        .summary = "Remove a directory's block",
        .action = deleteVdir,
        .parameters = {SiteName, Directory, OnPort},
        .operations = {"CZPVirtualDirectory::DeleteVirtualDirectory"},
        .examples = {"vdir delete shop.example /home/anna/shop.example/www/html/files"},
    };
}

}  // namespace zpweb
