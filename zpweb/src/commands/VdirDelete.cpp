// vdir delete: removes a directory's block.
#include "commands/Commands.h"
#include "commands/shared/DirectoryBlock.h"
#include "commands/shared/Operation.h"
#include "commands/shared/Scopes.h"

namespace zpweb {

namespace {

constexpr char BlockRemoved = 85;

Outcome remove(Transaction& change, const Site& site, const Arguments& given) {
    const Place& place = site.first();
    const std::string folder = given[Folder];
    if (!blockHas(place, opensFolder(folder))) {
        return isNotThere(folder + " has no block in this site");
    }
    Edit edit = directoryEdit(place, folder);
    edit.operation = [&](const std::string& staged) {
        return CZPVirtualDirectory(nullptr, staged.c_str()).DeleteVirtualDirectory(folder.c_str());
    };
    edit.meaning = expecting("DeleteVirtualDirectory", {BlockRemoved});
    return change.edit(edit);
}

}  // namespace

Command vdirDelete() {
    return {
        .words = "vdir delete",
        .summary = "Remove a folder's block",
        .action = remove,
        .parameters = {SiteName, Folder},
        .operations = {"CZPVirtualDirectory::DeleteVirtualDirectory"},
        .examples = {"vdir delete shop.example /home/anna/shop.example/www/html/files"},
    };
}

}  // namespace zpweb
