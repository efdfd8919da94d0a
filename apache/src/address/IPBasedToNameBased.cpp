#include <ostream>

#include "ApacheHelper.h"
#include "CZPWebsite.h"
#include "Results.h"
#include "conf/Address.h"
#include "conf/Readdress.h"
#include "host/Fields.h"
#include "host/Machine.h"
#include "host/Paths.h"

using zp::conf::Line;
namespace conf = zp::conf;
namespace keyword = zp::conf::keyword;
namespace result = zp::result;

namespace {

// An address as NameVirtualHost lines and blocks name it.
struct SharedAddress {
    std::string address, port;

    bool isIPv6() const { return conf::isIPv6(address); }
    std::string withPort(const std::string& anyPort) const {
        return conf::inBrackets(address) + ":" + anyPort;
    }
    std::string withPort() const { return withPort(port); }
    std::string withAllPorts() const { return withPort("*"); }
    std::string withSecurePort() const { return withPort("443"); }
};

// Which NameVirtualHost lines of the shared address are there.
struct Announced {
    bool onPort = false, onAllPorts = false, onSecurePort = false;
};

void examine(const Line& line, const SharedAddress& shared, Announced& announced) {
    const std::string_view value = conf::trimEnd(line.argumentOf(keyword::NameVirtualHost));
    const std::string_view family = shared.isIPv6() ? "IPV6" : "IPV4";
    zp::host::out() << "In name virtual host\nRequested IP is " << family << '\n';
    if (!shared.isIPv6()) {
        zp::host::out() << value << "==" << shared.withPort() << "  OR  ==" << shared.withAllPorts()
                        << '\n';
    } else if (value.starts_with('[')) {
        zp::host::out() << "Picked IP is IPV6\n";
    } else {
        return;
    }
    if (conf::equalIgnoringCase(value, shared.withAllPorts())) {
        announced.onAllPorts = true;
        zp::host::out() << family << " NameVirtualHost for all ports found\n";
    } else if (conf::equalIgnoringCase(value, shared.withPort())) {
        announced.onPort = true;
        zp::host::out() << family << " NameVirtualHost for port 80 found\n";  // whatever the port
    } else if (conf::equalIgnoringCase(value, shared.withSecurePort())) {
        announced.onSecurePort = true;
        zp::host::out() << family << " NameVirtualHost for port 443 found\n";
    }
}

void announce(const std::string& configuration, const std::string& addressAndPort) {
    ApacheHelper().Apache_writeDirective(configuration, "NameVirtualHost " + addressAndPort,
                                         "NameVirtualHost ", true, 10);
}

}  // namespace

int CZPWebsite::IPBasedToNameBased(std::string oldIP, std::string newIP, std::string domainName) {
    const std::string configuration = zp::host::textOf(HttpdConfFile);
    if (configuration.empty()) {
        return result::NoConfigurationPath;
    }
    SharedAddress shared{newIP, "80"};
    getParamFromZPConfFile(zp::host::path::ProductConfiguration, shared.port, "WebServerPort");
    const bool secure = ApacheHelper().Apache_isModuleExistsInVH(configuration, domainName, "mod_ssl");
    if (!secure) {
        zp::host::out() << "SSL is not enabled\n";
    }
    conf::Rewrite rewrite(configuration, zp::host::textOf(TEMPFILE), conf::bound::Addressing,
                          conf::Rewrite::Order::ScratchFirst);
    if (!rewrite.open()) {
        zp::host::out() << "Error while opening HttpdConfFile\n";
        return result::ConfigurationNotOpened;
    }

    Announced announced;
    const auto lookAtAnnouncement = [&](const Line& line) {
        // Once the line for the port was met no other is looked at, so one for port 443 behind it is not
        // seen.
        if (!announced.onPort) {
            examine(line, shared, announced);
        }
        rewrite.keep(line);
    };
    // The port goes by the site, so every block of a site with SSL gets 443.
    const std::string address = secure ? shared.withSecurePort() : shared.withPort();
    if (!conf::readdress(rewrite, {domainName, oldIP, "<VirtualHost " + address + ">"},
                         lookAtAnnouncement)) {
        // The copy stays beside the configuration.
        return rewrite.source().failed() ? result::ConfigurationNotOpened : result::website::NotFound;
    }
    if (!rewrite.putInPlace()) {
        return result::ConfigurationNotOpened;
    }
    if (announced.onAllPorts) {
        return result::website::MovedToShared;
    }
    if (!announced.onPort) {
        announce(configuration, shared.withPort());
    }
    if (secure && !announced.onSecurePort) {
        announce(configuration, shared.withSecurePort());
    }
    return result::website::MovedToShared;
}
