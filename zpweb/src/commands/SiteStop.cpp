// site stop: turns a site's blocks into comments.
#include "CZPWebsite.h"
#include "commands/Commands.h"
#include "commands/shared/SiteSwitch.h"

namespace zpweb {

namespace {

constexpr char Stopped = 30;

Outcome stop(Transaction& change, const Site& site, const Arguments&) {
    return switchSite(change, site,
                      {.stop = true,
                       .operation =
                           [](const std::string& staged, const std::string& name) {
                               return CZPWebsite(nullptr, staged.c_str()).StopWebsite(name.c_str());
                           },
                       .meaning = expecting("StopWebsite", {Stopped})});
}

}  // namespace

Command siteStop() {
    return {
        .words = "site stop",
        .summary = "Stop a website: its block becomes a comment",
        .action = stop,
        .parameters = {SiteName},
        .operations = {"CZPWebsite::StopWebsite"},
        .more =
            "Each line of the block gets one comment mark more, comments too, and \"site start\" takes "
            "one away.",
        .examples = {"site stop shop.example --dry-run --diff", "site stop shop.example"},
        .onStopped = true,
    };
}

}  // namespace zpweb
