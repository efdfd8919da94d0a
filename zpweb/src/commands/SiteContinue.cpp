// site continue: the panel's own, without any effect.
#include "CZPWebsite.h"
#include "commands/Commands.h"
#include "commands/shared/Operation.h"

namespace zpweb {

namespace {

Outcome callIt(Session& session, const Configuration&, const Site& site, const Arguments&) {
    CZPWebsite website(nullptr, site.places.front().file->path().c_str());
    session.output.note("the server has no such state; nothing is done (see site stop, site suspend)");
    return resultOf("ContinueWebsite", website.ContinueWebsite(site.name().c_str()), {0});
}

}  // namespace

Command siteContinue() {
    return {
        .words = "site continue",
        .summary = "Call the panel's continue, which has no effect",
        .action = callIt,
        .parameters = {SiteName},
        .operations = {"CZPWebsite::ContinueWebsite"},
        .examples = {"site continue shop.example"},
        .panelOnly = true,
    };
}

}  // namespace zpweb
