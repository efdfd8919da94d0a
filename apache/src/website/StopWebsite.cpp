#include "CZPWebsite.h"
#include "Results.h"
#include "conf/SiteSwitch.h"
#include "host/Fields.h"
#include "host/Report.h"

namespace conf = zp::conf;
namespace host = zp::host;
namespace result = zp::result;

char CZPWebsite::StopWebsite(const char* DomainName) {
    const std::string domain = host::textOf(DomainName);
    host::report(TrackManager, "StopWebsite", {{"DomainName", domain}});
    return conf::switchSite(host::textOf(HttpdConfFile), host::textOf(TEMPFILE), domain,
                            conf::SwitchTo::Off)
               ? result::website::Stopped
               : result::ConfigurationNotOpened;
}
