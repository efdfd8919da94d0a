// php set: an FPM pool runs a site's scripts.
#include "commands/SettingsCommands.h"
#include "commands/shared/SettingParameters.h"
#include "server/DirectoryPaths.h"
#include "settings/PhpChange.h"

namespace zpweb {

namespace {

constexpr auto Fpm = neededOption("--fpm", Kind::Pool, "SOCKET|HOST:PORT", "Where the pool listens");
constexpr auto RootOnly =
    flag("--root-only", "Only scripts below the document root; others are kept from visitors");

Outcome setGivenPhp(Transaction& change, const Site& site, const Arguments& given) {
    PhpSetting setting{given[Fpm]};
    if (given[RootOnly]) {
        setting.root = withoutSlash(std::string(site.first().block->root));
        if (setting.root.empty()) {
            return failure("--root-only: the site has no DocumentRoot");
        }
    }
    change.output().set("site", site.name());
    change.output().set("fpm", setting.fpm);
    return setPhp(change, site.name(), setting, given[Overwrite]);
}

}  // namespace

Command phpSet() {
    return {
        .words = "php set",
        .summary = "Let an FPM pool run a website's scripts",
        .action = setGivenPhp,
        .parameters = {SiteName, Fpm, RootOnly, Overwrite},
        .more =
            "\"php list\" shows the pools of this host. The pool must answer; after the reload a script "
            "that is made for it and removed again must run.",
        .examples = {"php set shop.example --fpm /run/php/php8.2-fpm.sock"},
    };
}

}  // namespace zpweb
