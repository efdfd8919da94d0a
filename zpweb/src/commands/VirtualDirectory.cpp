// Virtual directories: the <Directory> blocks of a site.
#include "commands/FolderOptions.h"
#include "commands/Groups.h"
#include "commands/Operation.h"
#include "commands/Parameters.h"
#include "commands/Scopes.h"
#include "host/Paths.h"
#include "input/Quoted.h"
#include "sys/File.h"

namespace zpweb {

namespace {

constexpr char BlockMade = 83;
constexpr char BlockThere = 1;
constexpr char BlockRemoved = 85;
constexpr char LineMalformed = 87;
constexpr char BlockUpdated = 89;

// The folder above the site's home: creation looks there for the owner, and puts the password file there.
std::string parentOfHome(const Place& place) { return folderOf(std::string(place.block->home)); }

SDDir recordFrom(const Arguments& arguments, const Place& place) {
    SDDir record{};
    fillField(record.DomainName, std::string(place.block->name));
    fillField(record.DirPath, arguments.one("FOLDER"));
    fillField(record.WebAdminPath, parentOfHome(place));
    record.Order = arguments.has("--order") ? 1 : 0;
    for (const std::string& option : arguments.all("--option")) {
        switchFor(record.Options, std::string_view(option).substr(1)) = option.front();
    }
    fillField(record.Allow, arguments.one("--allow"));
    fillField(record.Deny, arguments.one("--deny"));
    record.AnonAccess = arguments.has("--protect") ? '1' : 0;
    record.PerlEnabled = arguments.has("--perl") ? '1' : '0';
    record.RubyOnRails = arguments.has("--rails") ? '1' : '0';
    return record;
}

// Apache 2.4 opens a folder that "Require all granted" stands in, whatever else does.
Outcome contradiction(const Arguments& arguments) {
    if (arguments.has("--protect") && (arguments.has("--allow") || arguments.has("--order"))) {
        return failure(
            Status::Usage,
            "a folder cannot be both open (--allow, --order) and behind a password (--protect): the "
            "server would leave it open");
    }
    return done();
}

Edit editOf(const Place& place, const std::string& folder) {
    Edit edit;
    edit.file = place.file->path();
    edit.bound = bound::Any;
    const std::string name(place.block->name);
    edit.scope = [name, folder](const ConfigurationFile& file) {
        return sectionScope(file, name, opensFolder(folder));
    };
    edit.scratch = {zp::host::path::VirtualDirectoryScratch};
    return edit;
}

Outcome create(Transaction& change, const Place& place, const Arguments& arguments) {
    if (Outcome sound = contradiction(arguments); !sound.ok()) {
        return sound;
    }
    const std::string folder = arguments.one("FOLDER");
    if (!isFolder(folder)) {
        return failure(Status::NotFound,
                       "path " + inQuotes(folder) + ": no such folder; expected one that is there");
    }
    Outcome present = failure(Status::Exists, folder + " has a block already: see vdir set");
    if (blockHas(place, opensFolder(folder))) {
        return present;
    }
    SDDir record = recordFrom(arguments, place);
    Edit edit = editOf(place, folder);
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
    change.output().set("site", arguments.one("SITE"));
    change.output().set("folder", folder);
    return change.edit(edit);
}

Outcome remove(Transaction& change, const Place& place, const Arguments& arguments) {
    const std::string folder = arguments.one("FOLDER");
    if (!blockHas(place, opensFolder(folder))) {
        return failure(Status::NotFound, folder + " has no block in this site");
    }
    Edit edit = editOf(place, folder);
    edit.operation = [&](const std::string& staged) {
        return CZPVirtualDirectory(nullptr, staged.c_str()).DeleteVirtualDirectory(folder.c_str());
    };
    edit.meaning = expecting("DeleteVirtualDirectory", {BlockRemoved});
    return change.edit(edit);
}

Outcome set(Transaction& change, const Place& place, const Arguments& arguments) {
    if (Outcome sound = contradiction(arguments); !sound.ok()) {
        return sound;
    }
    const std::string folder = arguments.one("FOLDER");
    SDDir record = recordFrom(arguments, place);
    // Where the site has no such block yet, the update takes the character for protection the other way.
    if (!blockHas(place, opensFolder(folder))) {
        record.AnonAccess = arguments.has("--protect") ? '0' : '1';
    }
    Edit edit = editOf(place, folder);
    if (arguments.has("--protect")) {
        edit.makes = {folder + "/webusers.htpasswd"};
    }
    edit.operation = [&](const std::string& staged) {
        return CZPVirtualDirectory(nullptr, staged.c_str()).UpdateVirtualDirectory(&record);
    };
    edit.meaning = expecting("UpdateVirtualDirectory", {BlockUpdated}, LineMalformed,
                             failure("a <Directory> line of the site has no closing quote"));
    change.output().set("site", arguments.one("SITE"));
    change.output().set("folder", folder);
    return change.edit(edit);
}

}  // namespace

std::vector<Command> virtualDirectoryCommands() {
    const Parameter folder = needed("FOLDER", Kind::Path, "The folder that the block is for");
    const std::vector<Parameter> settings = {
        siteName(),
        folder,
        options("--option", Kind::Switch, "+NAME|-NAME", "Switch an option on or off"),
        flag("--order", "Open the folder by an order of allow and deny"),
        option("--allow", Kind::Text, "HOSTS", "The hosts that may see it"),
        option("--deny", Kind::Text, "HOSTS", "The hosts that may not"),
        flag("--protect", "Put it behind a password"),
        flag("--perl", "Run its Perl scripts (set only)"),
        flag("--rails", "Run it as a Rails application (set only)")};
    return {
        {"vdir create",
         "Give a folder of a website a block of its own",
         create,
         settings,
         {"CZPVirtualDirectory::CreateVirtualDirectory"}},
        {"vdir delete",
         "Remove a folder's block",
         remove,
         {siteName(), folder},
         {"CZPVirtualDirectory::DeleteVirtualDirectory"}},
        {"vdir set",
         "Replace a folder's settings",
         set,
         settings,
         {"CZPVirtualDirectory::UpdateVirtualDirectory"}},
    };
}

}  // namespace zpweb
