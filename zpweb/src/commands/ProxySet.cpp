// proxy set: an application answers for a path of a site.
#include "commands/SettingsCommands.h"
#include "commands/shared/SettingParameters.h"
#include "settings/ProxyChange.h"

namespace zpweb {

namespace {

constexpr auto ProxiedPath = needed("PATH", Kind::UrlPath, "The path, with all below it");
constexpr auto To =
    needed("URL", Kind::Backend, "Where the application listens, such as http://127.0.0.1:3000");
constexpr auto Websocket = flag("--websocket", "Let it speak websockets, too");
constexpr auto Timeout = numberOption("--timeout", "SECONDS", "Wait this long for it (as the server does)");

Outcome setGivenProxy(Transaction& change, const Site& site, const Arguments& given) {
    const ProxyPath path{given[ProxiedPath], given[To], given[Websocket], given[Timeout].value_or(0)};
    change.output().set("site", site.name());
    change.output().set("path", path.path);
    change.output().set("url", path.url);
    return setProxy(change, site.name(), path, given[Overwrite]);
}

}  // namespace

Command proxySet() {
    return {
        .words = "proxy set",
        .summary = "Let an application answer for a path of a website",
        .action = setGivenProxy,
        .parameters = {SiteName, ProxiedPath, To, Websocket, Timeout, Overwrite},
        .more =
            "The application gets the name that was asked for (Host), the visitor's address "
            "(X-Forwarded-For) and the scheme (X-Forwarded-Proto). ACME challenges stay the site's own.",
        .examples = {"proxy set shop.example / http://127.0.0.1:3000 --websocket",
                     "proxy set shop.example /api http://127.0.0.1:8080 --timeout 120"},
    };
}

}  // namespace zpweb
