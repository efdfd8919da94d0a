// tls off: a site is served over http only.
#include "commands/SettingsCommands.h"
#include "commands/shared/SettingParameters.h"
#include "settings/TlsChange.h"

namespace zpweb {

namespace {

Outcome off(Transaction& change, const Site& site, const Arguments& given) {
    const std::string name = site.name();
    change.output().set("site", name);
    return dropTls(change, name, given[Overwrite]);
}

}  // namespace

Command tlsOff() {
    return {
        .words = "tls off",
        .summary = "Stop serving a website over https",
        .action = off,
        .parameters = {SiteName, Overwrite},
        .more =
            "What \"tls on\" has added goes, the blocks that it made included. The server's modules and "
            "its Listen line stay: other sites may need them.",
        .examples = {"tls off shop.example"},
    };
}

}  // namespace zpweb
