#include <ostream>

#include "CZPWebsite.h"
#include "Results.h"
#include "conf/SiteSwitch.h"
#include "host/Fields.h"
#include "host/Machine.h"
#include "host/Report.h"

using zp::conf::Rewrite;
namespace conf = zp::conf;
namespace result = zp::result;

char CZPWebsite::StopWebsite(const char* DomainName) {
    const std::string domain = zp::host::textOf(DomainName);
    zp::host::report(TrackManager, "StopWebsite", {{"DomainName", domain}});
    Rewrite rewrite(zp::host::textOf(HttpdConfFile), zp::host::textOf(TEMPFILE), conf::bound::SiteSwitch,
                    Rewrite::Order::ScratchFirst);
    if (!rewrite.sourceOpen()) {
        zp::host::out() << "Error while opening HttpdConfFile\n";
        return result::ConfigurationNotOpened;
    }
    if (!rewrite.scratchOpen()) {
        return result::ConfigurationNotOpened;
    }
    const bool switched = conf::switchSite(rewrite, domain, conf::SwitchTo::Off);
    if (rewrite.source().failed() || (switched && !rewrite.putInPlace())) {
        rewrite.discard();
        return result::ConfigurationNotOpened;
    }
    return result::website::Stopped;
}
