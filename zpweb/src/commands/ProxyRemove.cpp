// proxy remove: a path of a site is the site's own again.
#include "commands/SettingsCommands.h"
#include "commands/shared/SettingParameters.h"
#include "settings/ProxyChange.h"

namespace zpweb {

namespace {

constexpr auto ProxiedPath = needed("PATH", Kind::UrlPath, "As it was set");

Outcome removeGivenProxy(Transaction& change, const Site& site, const Arguments& given) {
    change.output().set("site", site.name());
    return removeProxy(change, site.name(), given[ProxiedPath], given[Overwrite]);
}

}  // namespace

Command proxyRemove() {
    return {
        .words = "proxy remove",
        .summary = "Let a website answer for a path by itself again",
        .action = removeGivenProxy,
        .parameters = {SiteName, ProxiedPath, Overwrite},
        .examples = {"proxy remove shop.example /api"},
    };
}

}  // namespace zpweb
