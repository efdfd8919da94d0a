#include "CZPWebsite.h"
#include "Results.h"
#include "conf/SiteSwitch.h"
#include "host/Fields.h"
#include "host/Report.h"

namespace conf = zp::conf;
namespace host = zp::host;
namespace result = zp::result;

char CZPWebsite::StartWebsite(const char* DomainName) {
    const std::string domain = host::textOf(DomainName);
    // The panel's log has always shown a start under this name, and is searched for it.
    host::report(TrackManager, "StopWebsite", {{"DomainName", domain}});
    return conf::switchSite(host::textOf(HttpdConfFile), host::textOf(TEMPFILE), domain, conf::SwitchTo::On)
               ? result::website::Started
               : result::ConfigurationNotOpened;
}
