// folder line: makes sure that a line is in a <Directory> block, or is not.
#include "commands/Commands.h"
#include "commands/shared/BlockLines.h"

namespace zpweb {

namespace {

constexpr auto TheLine = needed("LINE", Kind::Text, "The line");
constexpr auto Remove = flag("--remove", "Remove it instead");

Outcome haveLine(Transaction& change, const Site& site, const Arguments& given) {
    return editBlock(change, site, given[BlockFolder],
                     [&](ApacheHelper& helper, const std::string& staged, const std::string& name,
                         const std::string& folder) {
                         return helper.Apache_UpdateVHDirectiveContents(
                             staged, name, "<Directory \"" + folder + "\"", given[TheLine], !given[Remove]);
                     });
}

}  // namespace

Command folderLine() {
    return {
        .words = "folder line",
        .summary = "Make sure that a line is in a <Directory> block, or is not",
        .action = haveLine,
        .parameters = {SiteName, BlockFolder, TheLine, Remove},
        .operations = {"ApacheHelper::Apache_UpdateVHDirectiveContents"},
        .examples = {"folder line shop.example /srv/shop/files 'Options -Indexes'"},
    };
}

}  // namespace zpweb
