// site pause: the panel's own, without any effect.
#include "CZPWebsite.h"
#include "commands/Commands.h"
#include "commands/shared/Operation.h"

namespace zpweb {

namespace {

Outcome callIt(Session& session, const Configuration&, const Site& site, const Arguments&) {
    CZPWebsite website(nullptr, site.places.front().file->path().c_str());
    session.output.note("the server has no such state; nothing is done (see site stop, site suspend)");
    return resultOf("PauseWebsite", website.PauseWebsite(site.name().c_str()), {0});
}

}  // namespace

Command sitePause() {
    return {
        .words = "site pause",
        .summary = "Call the panel's pause, which has no effect",
        .action = callIt,
        .parameters = {SiteName},
        .operations = {"CZPWebsite::PauseWebsite"},
        .examples = {"site pause shop.example"},
        .panelOnly = true,
    };
}

}  // namespace zpweb
