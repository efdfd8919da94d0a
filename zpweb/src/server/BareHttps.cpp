#include "server/BareHttps.h"

#include <algorithm>

namespace zpweb {

namespace {

// The server's own level may give one to all blocks, and mod_md to those that it looks after.
bool hasCertificate(const Reading& reading, const VirtualHost& host) {
    return !reading.inSection(host.directive, "SSLCertificateFile").empty() ||
           std::any_of(reading.directives().begin(), reading.directives().end(), [](const Directive& each) {
               return each.is("MDomain") || each.is("MDomainSet") ||
                      (each.parent == Directive::None && each.is("SSLCertificateFile"));
           });
}

const VirtualHost* bareHost(const Reading& reading, const std::string& site) {
    for (const VirtualHost* host : reading.hostsOf(site)) {
        if (host->directive != Directive::None &&
            lowerCase(reading.valueIn(host->directive, "SSLEngine")) == "on" &&
            !hasCertificate(reading, *host)) {
            return host;
        }
    }
    return nullptr;
}

}  // namespace

std::string bareHttps(const Reading& live, const Reading& staged, const std::set<std::string>& sites) {
    for (const std::string& site : sites) {
        const VirtualHost* bare = bareHost(staged, site);
        if (bare != nullptr && bareHost(live, site) == nullptr) {
            return staged.describe(bare) +
                   " would have SSLEngine on and no certificate, and the server would end; nothing is "
                   "changed (what belongs together can be done in one change: zpweb apply)";
        }
    }
    return {};
}

}  // namespace zpweb
