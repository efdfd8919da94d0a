#include "commands/shared/DirectoryBlock.h"

#include "commands/shared/Operation.h"
#include "commands/shared/Scopes.h"
#include "sys/File.h"

namespace zpweb {

namespace {

// The folder above the site's home: creation looks there for the owner, and puts the password file there.
std::string parentOfHome(const Place& place) { return folderOf(std::string(place.block->home)); }

void setOption(SOptions& options, std::string_view name, char state) {
    for (const DirectoryOption& each : DirectoryOptions) {
        if (each.name == name) {
            options.*each.state = state;
        }
    }
}

}  // namespace

SDDir directoryRecord(const Arguments& given, const Place& place) {
    SDDir record{};
    fillField(record.DomainName, std::string(place.block->name));
    fillField(record.DirPath, given[Folder]);
    fillField(record.WebAdminPath, parentOfHome(place));
    record.Order = given[Order] ? 1 : 0;
    for (const std::string& option : given[Switches]) {
        setOption(record.Options, std::string_view(option).substr(1), option.front());
    }
    fillField(record.Allow, given[Allow].value_or(""));
    fillField(record.Deny, given[Deny].value_or(""));
    record.AnonAccess = given[Protect] ? '1' : 0;
    record.PerlEnabled = given[Perl] ? '1' : '0';
    record.RubyOnRails = given[Rails] ? '1' : '0';
    return record;
}

// Apache 2.4 opens a folder that "Require all granted" stands in, whatever else does.
Outcome fitTogether(const Arguments& given) {
    if (given[Protect] && (given.has(Allow) || given[Order])) {
        return failure(
            Status::Usage,
            "a folder cannot be both open (--allow, --order) and behind a password (--protect): the "
            "server would leave it open");
    }
    return done();
}

Edit directoryEdit(const Place& place, const std::string& folder) {
    Edit edit;
    edit.file = place.file->path();
    edit.bound = bound::Any;
    const std::string name(place.block->name);
    edit.site = name;
    edit.scope = [name, folder](const ConfigurationFile& file) {
        return sectionScope(file, name, opensFolder(folder));
    };
    return edit;
}

}  // namespace zpweb
