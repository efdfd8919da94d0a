// php off: nobody runs a site's scripts.
#include "commands/SettingsCommands.h"
#include "commands/shared/SettingParameters.h"
#include "settings/PhpChange.h"

namespace zpweb {

namespace {

Outcome off(Transaction& change, const Site& site, const Arguments& given) {
    change.output().set("site", site.name());
    return dropPhp(change, site.name(), given[Overwrite]);
}

}  // namespace

Command phpOff() {
    return {
        .words = "php off",
        .summary = "Stop running a website's scripts",
        .action = off,
        .parameters = {SiteName, Overwrite},
        .more =
            "Scripts that the document root still holds are kept from visitors: nobody gets to read them. "
            "Where a line other than the setting runs them, as of a PHP for all sites, that stays; its "
            "place "
            "is told.",
        .examples = {"php off shop.example"},
    };
}

}  // namespace zpweb
