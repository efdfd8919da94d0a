// site start: takes the comment marks of a stopped site's blocks away.
#include "CZPWebsite.h"
#include "commands/Commands.h"
#include "commands/shared/SiteSwitch.h"

namespace zpweb {

namespace {

constexpr char Started = 29;

Outcome start(Transaction& change, const Site& site, const Arguments&) {
    return switchSite(change, site,
                      {.stop = false,
                       .operation =
                           [](const std::string& staged, const std::string& name) {
                               return CZPWebsite(nullptr, staged.c_str()).StartWebsite(name.c_str());
                           },
                       .meaning = expecting("StartWebsite", {Started})});
}

}  // namespace

Command siteStart() {
    return {
        .words = "site start",
        .summary = "Start a stopped website",
        .action = start,
        .parameters = {SiteName},
        .operations = {"CZPWebsite::StartWebsite"},
        .examples = {"site start shop.example"},
        .onStopped = true,
    };
}

}  // namespace zpweb
