// access off: a path of a site is open to whom the site's own lines let through.
#include "commands/SettingsCommands.h"
#include "commands/shared/SettingParameters.h"
#include "settings/AccessChange.h"

namespace zpweb {

namespace {

constexpr auto Path = needed("PATH", Kind::UrlPath, "As it was set");

Outcome off(Transaction& change, const Site& site, const Arguments& given) {
    const std::string path = given[Path];
    change.output().set("site", site.name());
    change.output().set("path", path);
    return removeAccess(change, site.name(), path, given[Overwrite]);
}

}  // namespace

Command accessOff() {
    return {
        .words = "access off",
        .summary = "Take back who may ask for a path",
        .action = off,
        .parameters = {SiteName, Path, Overwrite},
        .examples = {"access off shop.example /admin"},
    };
}

}  // namespace zpweb
