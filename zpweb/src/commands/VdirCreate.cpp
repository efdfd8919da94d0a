// vdir create: gives a directory of a site a block of its own.
#include "commands/Commands.h"
#include "commands/shared/DirectoryBlock.h"
#include "commands/shared/Operation.h"
#include "commands/shared/Scopes.h"
#include "input/Quoted.h"
#include "sys/File.h"

namespace zpweb {

namespace {

constexpr char BlockMade = 83;
constexpr char BlockThere = 1;

Outcome create(Transaction& change, const Site& site, const Arguments& given) {
    const Place& place = site.first();
    if (Outcome sound = fitTogether(given); !sound.ok()) {
        return sound;
    }
    const std::string folder = given[Folder];
    if (!isFolder(folder)) {
        return failure(Status::NotFound,
                       "path " + inQuotes(folder) + ": no such folder; expected one that is there");
    }
    Outcome present = existsAlready(folder + " has a block already: see vdir set");
    if (blockHas(place, opensFolder(folder))) {
        return present;
    }
    SDDir record = directoryRecord(given, place);
    Edit edit = directoryEdit(place, folder);
    if (record.AnonAccess == '1') {
        const std::string name = record.DomainName;
        edit.makes = {std::string(record.WebAdminPath) + "/" + name + "/webusers_" + name + ".htpasswd"};
        if (change.settings().dryRun) {
            change.output().note("would make " + edit.makes.front() + " if it is missing");
        }
    }
    edit.operation = [&](const std::string& staged) {
        return CZPVirtualDirectory(nullptr, staged.c_str()).CreateVirtualDirectory(&record, 0);
    };
    edit.meaning = expecting("CreateVirtualDirectory", {BlockMade}, BlockThere, present);
    change.output().set("site", given[SiteName]);
    change.output().set("folder", folder);
    return change.edit(edit);
}

}  // namespace

Command vdirCreate() {
    return {
        .words = "vdir create",
        .summary = "Give a folder of a website a block of its own",
        .action = create,
        .parameters = blockSettings(),
        .operations = {"CZPVirtualDirectory::CreateVirtualDirectory"},
        .examples = {"vdir create shop.example /home/anna/shop.example/www/html/intern --protect",
                     "vdir create shop.example /home/anna/shop.example/www/html/files --option=+Indexes"},
    };
}

}  // namespace zpweb
