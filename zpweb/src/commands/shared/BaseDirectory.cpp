#include "commands/shared/BaseDirectory.h"

#include "commands/shared/Operation.h"
#include "commands/shared/Scopes.h"
#include "conf/Line.h"

namespace zpweb {

namespace {

constexpr int BaseDirChanged = 96;

// The library keeps one php_admin_value line a folder, whatever it sets. Others than open_basedir stay.
bool isBaseDir(std::string_view text) {
    return zp::conf::beginsIgnoringCase(text, "php_admin_value") &&
           zp::conf::contains(text, "open_basedir");
}

}  // namespace

Outcome changeBaseDirectory(Transaction& change, const Site& site, const Arguments& given,
                            const BaseDirectoryChange& wanted) {
    const Place& place = site.first();
    const std::string name = site.name();
    const std::string folder = given[BaseFolder];
    if (!blockHas(place, opensFolder(folder))) {
        return failure(Status::NotFound, folder + " has no block in this site: see vdir create");
    }
    Edit edit;
    edit.file = place.file->path();
    edit.bound = bound::Handler;
    edit.site = name;
    edit.scope = [&](const ConfigurationFile& file) { return siteScope(file, name, isBaseDir); };
    edit.operation = [&](const std::string& staged) {
        CZPWebsite website(nullptr, staged.c_str());
        return wanted.call(website, name, folder);
    };
    edit.meaning = expecting(wanted.operation, {BaseDirChanged});
    change.output().set("site", name);
    return change.edit(edit);
}

}  // namespace zpweb
