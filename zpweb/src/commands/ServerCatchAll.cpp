// server catch-all: names that no site has are not answered by the first customer's site.
#include "commands/SettingsCommands.h"
#include "commands/shared/SettingParameters.h"
#include "settings/CatchAll.h"

namespace zpweb {

namespace {

constexpr auto Switch = neededChoice("STATE", "on|off", "Whether there is one");
constexpr auto Page = option("--page", Kind::Path, "FILE", "The page that it shows (the server's own)");

Outcome catchAll(Transaction& change, const Arguments& given) {
    return given[Switch] == "on" ? setCatchAll(change, given[Page].value_or("")) : dropCatchAll(change);
}

}  // namespace

Command serverCatchAll() {
    return {
        .words = "server catch-all",
        .summary = "Answer for names that no website has",
        .action = catchAll,
        .parameters = {Switch, Page},
        .more =
            "Unknown names, and those of stopped sites, get status 421 (Misdirected Request) instead of "
            "the first site. Over https a certificate that nobody vouches for is shown, and clients that "
            "name no site in the TLS handshake (SNI) get 421 whatever they ask for.",
        .examples = {"server catch-all on", "server catch-all on --page /var/www/unknown.html"},
    };
}

}  // namespace zpweb
