// vdir set: replaces a directory's settings.
#include "commands/Commands.h"
#include "commands/shared/DirectoryBlock.h"
#include "commands/shared/Operation.h"
#include "commands/shared/Scopes.h"

namespace zpweb {

namespace {

constexpr char LineMalformed = 87;
constexpr char BlockUpdated = 89;

Outcome set(Transaction& change, const Site& site, const Arguments& given) {
    const Place& place = site.first();
    if (Outcome sound = fitTogether(given); !sound.ok()) {
        return sound;
    }
    const std::string folder = given[Folder];
    SDDir record = directoryRecord(given, place);
    // Where the site has no such block yet, the update takes the character for protection the other way.
    if (!blockHas(place, opensFolder(folder))) {
        record.AnonAccess = given[Protect] ? '0' : '1';
    }
    Edit edit = directoryEdit(place, folder);
    if (given[Protect]) {
        edit.makes = {folder + "/webusers.htpasswd"};
    }
    edit.operation = [&](const std::string& staged) {
        return CZPVirtualDirectory(nullptr, staged.c_str()).UpdateVirtualDirectory(&record);
    };
    edit.meaning = expecting("UpdateVirtualDirectory", {BlockUpdated}, LineMalformed,
                             failure("a <Directory> line of the site has no closing quote"));
    change.output().set("site", given[SiteName]);
    change.output().set("folder", folder);
    return change.edit(edit);
}

}  // namespace

Command vdirSet() {
    return {
        .words = "vdir set",
        .summary = "Replace a folder's settings",
        .action = set,
        .parameters = blockSettings(),
        .operations = {"CZPVirtualDirectory::UpdateVirtualDirectory"},
        .examples = {"vdir set shop.example /home/anna/shop.example/www/html --option=-Indexes --diff"},
    };
}

}  // namespace zpweb
