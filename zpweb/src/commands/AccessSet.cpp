// access set: who may ask for a path of a site.
#include "commands/SettingsCommands.h"
#include "commands/shared/SettingParameters.h"
#include "host/Paths.h"
#include "server/ServerUser.h"
#include "settings/AccessChange.h"
#include "settings/SiteSettings.h"

namespace zpweb {

namespace {

constexpr auto Path = needed("PATH", Kind::UrlPath, "The path, with all below it");
constexpr auto Allow = options("--allow", Kind::Network, "NET|all", "Addresses that may (default: all)");
constexpr auto Deny = options("--deny", Kind::Network, "NET|all", "Addresses that may not");
constexpr auto Users =
    options("--users", Kind::UserName, "USER", "Only these users; valid-user: each of the file");
constexpr auto UserFile =
    option("--user-file", Kind::Path, "FILE", "Where they stand (the site's web users)");

Outcome setGivenAccess(Transaction& change, const Site& site, const Arguments& given) {
    AccessPath path{given[Path], given[Allow], given[Deny], given[Users], ""};
    if (path.allow.empty() && path.deny.empty() && path.users.empty()) {
        return failure(Status::Usage, "access set: one of --allow, --deny and --users is missing");
    }
    if (!path.users.empty()) {
        path.userFile = given[UserFile].value_or(zp::host::path::WebUsers + settingName(site.name()));
        const ServerAccount server = serverAccount(change.configuration(), change.live());
        if (Outcome there = usersAreThere(path, server.user); !there.ok()) {
            return there;
        }
    }
    change.output().set("site", site.name());
    change.output().set("path", path.path);
    return setAccess(change, site.name(), path, given[Overwrite]);
}

}  // namespace

Command accessSet() {
    return {
        .words = "access set",
        .summary = "Tell who may ask for a path of a website",
        .action = setGivenAccess,
        .parameters = {SiteName, Path, Allow, Deny, Users, UserFile, Overwrite},
        .more =
            "Admitted is who comes from an allowed address, from none that is denied, and, with --users, "
            "is one of them. \"--deny all\" beside --allow means those addresses and no other. ACME "
            "challenges stay reachable.",
        .examples = {"access set shop.example /admin --allow 192.0.2.0/24",
                     "access set shop.example / --deny 198.51.100.7"},
    };
}

}  // namespace zpweb
