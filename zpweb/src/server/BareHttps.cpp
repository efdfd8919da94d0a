#include "server/BareHttps.h"

#include <fnmatch.h>

#include <algorithm>

namespace zpweb {

namespace {

bool hasName(const VirtualHost& host, const std::string& name) {
    const std::string wanted = lowerCase(name);
    const auto& aliases = host.names.aliases;
    return ::fnmatch(wanted.c_str(), host.names.name.c_str(), 0) == 0 ||
           std::find(aliases.begin(), aliases.end(), wanted) != aliases.end();
}

// mod_md gives one to the blocks that have a name of its domains.
bool looksAfter(const Directive& directive, const VirtualHost& host) {
    constexpr const char* Naming[] = {"MDomain", "MDomainSet", "MDMember"};
    const auto words = argumentsIn(directive.arguments);
    return std::any_of(std::begin(Naming), std::end(Naming),
                       [&](const char* each) { return directive.is(each); }) &&
           std::any_of(words.begin(), words.end(),
                       [&](const std::string& word) { return hasName(host, word); });
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

// The server's own level may give one to all blocks.
bool hasCertificate(const Reading& reading, const VirtualHost& host) {
    return !reading.inSection(host.directive, "SSLCertificateFile").empty() ||
           std::any_of(reading.directives().begin(), reading.directives().end(),
                       [&](const Directive& each) {
                           return looksAfter(each, host) ||
                                  (each.parent == Directive::None && each.is("SSLCertificateFile"));
                       });
}

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
