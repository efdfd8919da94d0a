// site status: tells whether a site runs.
#include "CZPWebsite.h"
#include "commands/Commands.h"
#include "commands/shared/Operation.h"
#include "commands/shared/Readable.h"

namespace zpweb {

namespace {

constexpr char Running = 34;
constexpr char NotRunning = 33;

Outcome status(Session& session, const Configuration&, const Site& site, const Arguments&) {
    const Place& place = site.places.front();
    const std::string name(place.block->name);
    const Readable readable(*place.file, name);
    CZPWebsite website(nullptr, readable.path().c_str());
    const int result = quietly(session.output, [&] { return website.GetWebsiteStatus(name); });
    Outcome known = resultOf("GetWebsiteStatus", result, {Running, NotRunning});
    if (known.ok()) {
        session.output.set("site", name);
        session.output.set("state", result == Running ? "running" : "stopped");
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
