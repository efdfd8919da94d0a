// proxy list: the paths of sites that applications answer for.
#include "commands/SettingsCommands.h"
#include "commands/shared/SettingParameters.h"
#include "settings/Proxies.h"
#include "settings/SiteSettings.h"
#include "sys/File.h"

namespace zpweb {

namespace {

constexpr auto OfSite = maybe("SITE", Kind::Site, "Those of this website only");

Outcome listProxies(Session& session, const Configuration& configuration, const Arguments& given) {
    List& rows = session.output.list("proxies", {"site", "path", "url", "websocket", "timeout"});
    const auto wanted = given[OfSite];
    bool found = false;
    for (const std::string& site : entriesOf(directoryOf(configuration.main().path()) + "/zpweb.d")) {
        const auto now = settingOf(configuration, site, Setting::Proxy);
        const auto setting = now ? proxiesFrom(now->asked) : std::nullopt;
        if (!setting || (wanted && settingName(*wanted) != site)) {
            continue;
        }
        found = true;
        for (const ProxyPath& each : setting->paths) {
            rows.row().add("site", site).add("path", each.path).add("url", each.url);
            rows.add("websocket", each.websocket)
                .add("timeout", each.timeout > 0 ? Value(long{each.timeout}) : Value());
        }
    }
    return wanted && !found ? findSite(configuration, *wanted).outcome() : done();
}

}  // namespace

Command proxyList() {
    return {
        .words = "proxy list",
        .summary = "List the paths that applications answer for",
        .action = listProxies,
        .parameters = {OfSite},
        .examples = {"proxy list", "proxy list shop.example --json"},
    };
}

}  // namespace zpweb
