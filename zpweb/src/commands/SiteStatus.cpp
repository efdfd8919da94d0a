// site status: tells whether a site runs.
#include "CZPWebsite.h"
#include "Results.h"
#include "commands/Commands.h"
#include "commands/shared/Operation.h"
#include "commands/shared/Readable.h"
#include "commands/shared/SiteBlocks.h"

namespace zpweb {

namespace {

constexpr char IsRunning = zp::result::website::IsRunning;
constexpr char NotRunning = zp::result::website::IsStopped;

Outcome status(Session& session, const Configuration&, const Site& site, const Arguments&) {
    const Place& place = site.first();
    const std::string name = domainOf(*place.block);
    const Readable readable(*place.block);
    CZPWebsite website(nullptr, readable.path().c_str());
    const int result = quietly(session.output, [&] { return website.GetWebsiteStatus(name); });
    Outcome known = resultOf("GetWebsiteStatus", result, {IsRunning, NotRunning});
    if (known.ok()) {
        session.output.set("site", site.name());
        session.output.set("state", result == IsRunning ? stateOf(site.places) : "stopped");
    }
    return known;
}

}  // namespace

Command siteStatus() {
    return {
        .words = "site status",
        .summary = "Tell whether a website runs",
        .action = status,
        .parameters = {SiteName},
        .operations = {"CZPWebsite::GetWebsiteStatus"},
        .examples = {"site status shop.example --json"},
    };
}

}  // namespace zpweb
