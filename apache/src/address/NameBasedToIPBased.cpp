#include <ostream>

#include "CZPWebsite.h"
#include "Results.h"
#include "conf/Address.h"
#include "conf/Readdress.h"
#include "host/Fields.h"
#include "host/Machine.h"

namespace conf = zp::conf;
namespace keyword = zp::conf::keyword;
namespace result = zp::result;

int CZPWebsite::NameBasedToIPBased(std::string oldIP, std::string newIP, std::string domainName) {
    const std::string configuration = zp::host::textOf(HttpdConfFile);
    if (configuration.empty()) {
        return result::NoConfigurationPath;
    }
    conf::Rewrite rewrite(configuration, zp::host::textOf(TEMPFILE), conf::bound::Addressing,
                          conf::Rewrite::Order::ScratchFirst);
    if (!rewrite.open()) {
        zp::host::out() << "Error while opening HttpdConfFile\n";
        return result::ConfigurationNotOpened;
    }
    const std::string address = conf::inBrackets(newIP);
    // The address is to be the site's own, so nothing may announce it as shared. A line that names it with
    // a port stays.
    const auto dropAnnouncement = [&](const conf::Line& line) {
        const std::string_view announced = conf::trimEnd(line.argumentOf(keyword::NameVirtualHost));
        if (!conf::equalIgnoringCase(announced, address)) {
            rewrite.write(conf::trimEnd(line.raw()));
        }
    };
    const bool moved =
        conf::readdress(rewrite, {domainName, oldIP, "<VirtualHost " + address + ">"}, dropAnnouncement);
    if (!rewrite.putInPlace()) {  // put in place also when nothing was found
        return result::ConfigurationNotOpened;
    }
    return moved ? result::website::MovedToOwn : result::website::NotFound;
}
