#include "server/BareHttps.h"

#include <algorithm>

namespace zpweb {

namespace {

bool namesDomains(const Directive& directive) {
    constexpr const char* Naming[] = {"MDomain", "MDomainSet", "MDMember"};
    return std::any_of(std::begin(Naming), std::end(Naming),
                       [&](const char* each) { return directive.is(each); });
}

const VirtualHost* bareHost(const Reading& reading, const Certified& certified, const std::string& site) {
    for (const VirtualHost* host : reading.hostsOf(site)) {
        if (host->directive != Directive::None &&
            lowerCase(reading.valueIn(host->directive, "SSLEngine")) == "on" && !certified.has(*host)) {
            return host;
        }
    }
    return nullptr;
}

}  // namespace

Certified::Certified(const Reading& reading)
    : reading_(reading), all_(!reading.inSection(Directive::None, "SSLCertificateFile").empty()) {
    for (const Directive& each : reading.directives()) {
        if (namesDomains(each)) {
            for (const std::string& word : argumentsIn(each.arguments)) {
                domains_.insert(lowerCase(word));
            }
        }
    }
}

bool Certified::has(const VirtualHost& host) const {
    return all_ || !reading_.inSection(host.directive, "SSLCertificateFile").empty() || lookedAfter(host);
}

// A domain with "*" is for a ServerName that has one label more.
bool Certified::lookedAfter(const VirtualHost& host) const {
    const std::string& name = host.names.name;
    const size_t dot = name.find('.');
    return domains_.contains(name) ||
           (dot != std::string::npos && domains_.contains("*" + name.substr(dot))) ||
           std::any_of(host.names.aliases.begin(), host.names.aliases.end(),
                       [&](const std::string& alias) { return domains_.contains(alias); });
}

std::string bareHttps(const Reading& live, const Reading& staged, const std::set<std::string>& sites) {
    const Certified certified(staged);
    const Certified before(live);
    for (const std::string& site : sites) {
        const VirtualHost* bare = bareHost(staged, certified, site);
        if (bare != nullptr && bareHost(live, before, site) == nullptr) {
            return staged.describe(bare) +
                   " would have SSLEngine on and no certificate, and the server would end; nothing is "
                   "changed (what belongs together can be done in one change: zpweb apply)";
        }
    }
    return {};
}

}  // namespace zpweb
