// access show: who may ask for which path of a site.
#include "commands/SettingsCommands.h"
#include "commands/shared/SettingParameters.h"
#include "settings/Access.h"
#include "settings/SiteSettings.h"

namespace zpweb {

namespace {

Outcome showAccess(Session& session, const Configuration& configuration, const Site& site,
                   const Arguments&) {
    const auto now = settingOf(configuration, site.name(), Setting::Access);
    const auto setting = now ? accessFrom(now->asked) : std::nullopt;
    session.output.set("site", site.name());
    List& rows = session.output.list("access", {"path", "allow", "deny", "users"});
    for (const AccessPath& each : setting.value_or(AccessSetting{}).paths) {
        rows.row().add("path", each.path).add("allow", each.allow).add("deny", each.deny);
        rows.add("users", each.users).add("user_file", known(each.userFile));
    }
    return done();
}

}  // namespace

Command accessShow() {
    return {
        .words = "access show",
        .summary = "Show who may ask for which path of a website",
        .action = showAccess,
        .parameters = {SiteName},
        .examples = {"access show shop.example"},
    };
}

}  // namespace zpweb
