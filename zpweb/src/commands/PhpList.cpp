// php list: which pool runs which site's scripts, and the pools of this host.
#include "commands/SettingsCommands.h"
#include "commands/shared/SettingParameters.h"
#include "input/Pool.h"
#include "settings/Php.h"
#include "settings/SiteSettings.h"
#include "sys/File.h"

namespace zpweb {

namespace {

Outcome listPhp(Session& session, const Configuration& configuration, const Arguments&) {
    List& sites = session.output.list("sites", {"site", "version", "fpm", "root_only"});
    for (const std::string& site : entriesOf(directoryOf(configuration.main().path()) + "/zpweb.d")) {
        const auto now = settingOf(configuration, site, Setting::Php);
        if (const auto setting = now ? phpFrom(now->asked) : std::nullopt; setting) {
            sites.row().add("site", site).add("version", known(setting->version)).add("fpm", setting->fpm);
            sites.add("root_only", !setting->root.empty());
        }
    }
    List& pools = session.output.list("pools", {"pool", "version", "listen", "user", "accepts", "file"});
    for (const Pool& pool : poolsOfHost()) {
        pools.row().add("pool", pool.name).add("version", known(pool.version)).add("listen", pool.listen);
        const auto place = typedPool(pool.listen);
        pools.add("user", known(pool.user))
            .add("accepts", place.ok() && accepts(*place).ok())
            .add("file", pool.file);
    }
    return done();
}

}  // namespace

Command phpList() {
    return {
        .words = "php list",
        .summary = "List the FPM pools of this host, and the websites that use one",
        .action = listPhp,
        .examples = {"php list"},
    };
}

}  // namespace zpweb
