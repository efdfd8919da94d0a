// redirect list: where a site's paths lead.
#include "commands/SettingsCommands.h"
#include "commands/shared/SettingParameters.h"
#include "settings/Redirects.h"
#include "settings/SiteSettings.h"

namespace zpweb {

namespace {

Outcome listRedirects(Session& session, const Configuration& configuration, const Site& site,
                      const Arguments&) {
    const auto now = settingOf(configuration, site.name(), Setting::Redirect);
    const auto setting = now ? redirectsFrom(now->asked) : std::nullopt;
    List& rows = session.output.list("redirects", {"path", "to", "status", "keep_path"});
    if (!setting) {
        return done();
    }
    for (const PathRedirect& each : setting->paths) {
        rows.row()
            .add("path", each.path)
            .add("to", each.to)
            .add("status", static_cast<long>(each.status))
            .add("keep_path", each.keepPath);
    }
    if (!setting->canonical.empty()) {
        rows.row()
            .add("path", "/")
            .add("to", setting->canonical)
            .add("status", 301L)
            .add("keep_path", true);
    }
    if (setting->httpsPort != 0) {
        rows.row().add("path", "/").add("to", "https").add("status", 301L).add("keep_path", true);
    }
    return done();
}

}  // namespace

Command redirectList() {
    return {
        .words = "redirect list",
        .summary = "List where a website's paths lead",
        .action = listRedirects,
        .parameters = {SiteName},
        .examples = {"redirect list shop.example"},
    };
}

}  // namespace zpweb
