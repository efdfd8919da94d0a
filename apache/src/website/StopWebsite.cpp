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

constexpr char Stopped = 30;  // also when there was no such site

}  // namespace

char CZPWebsite::StopWebsite(const char* DomainName) {
    const std::string domain = zp::host::textOf(DomainName);
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
    if (conf::switchSite(rewrite, domain, conf::SwitchTo::Off) && !rewrite.putInPlace()) {
        return zp::result::ConfigurationNotOpened;
    }
    return Stopped;
}
