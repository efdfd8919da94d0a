#include <ostream>

#include "CZPWebsite.h"
#include "Results.h"
#include "conf/SiteSwitch.h"
#include "host/Fields.h"
#include "host/Machine.h"
#include "host/Report.h"

using zp::conf::Rewrite;
namespace conf = zp::conf;

namespace {

constexpr char Started = 29;  // also when there was no such site

}  // namespace

char CZPWebsite::StartWebsite(const char* DomainName) {
    const std::string domain = zp::host::textOf(DomainName);
    // The panel's log has always shown a start under this name, and is searched for it.
    zp::host::report(TrackManager, "StopWebsite", {{"DomainName", domain}});
    Rewrite rewrite(zp::host::textOf(HttpdConfFile), zp::host::textOf(TEMPFILE), conf::SiteSwitchBound,
                    Rewrite::Order::ScratchFirst);
    if (!rewrite.sourceOpen()) {
        zp::host::out() << "Error while opening HttpdConfFile\n";
        return zp::result::ConfigurationNotOpened;
    }
    if (!rewrite.scratchOpen()) {
        return zp::result::ConfigurationNotOpened;
    }
    if (conf::switchSite(rewrite, domain, conf::SwitchTo::On) && !rewrite.putInPlace()) {
        return zp::result::ConfigurationNotOpened;
    }
    return Started;
}
