#include "server/Protocol.h"

#include <algorithm>

namespace zpweb {

namespace {

constexpr int HttpsPort = 443;

// Is it the address of a Listen line that says https?
bool listensForTls(const Reading& reading, const Endpoint& at) {
    const auto lines = reading.inSection(Directive::None, "Listen");
    return std::any_of(lines.begin(), lines.end(), [&at](const Directive* listen) {
        const std::vector<std::string> words = argumentsIn(listen->arguments);
        return listenedOn(listen->arguments) == at &&
               (words.size() > 1 ? lowerCase(words[1]) == "https" : at.port == HttpsPort);
    });
}

}  // namespace

Protocols::Protocols(const Reading& reading)
    : reading_(reading),
      engine_(reading.valueIn(Directive::None, "SSLEngine")),
      certificate_(reading.valueIn(Directive::None, "SSLCertificateFile")) {}

// Of the host itself, or else of the server.
std::string Protocols::inherited(const VirtualHost& host, std::string_view directive,
                                 const std::string& server) const {
    const std::string own =
        host.directive == Directive::None ? "" : reading_.valueIn(host.directive, directive);
    return lowerCase(own.empty() ? server : own);
}

bool Protocols::isTls(const VirtualHost& host) const {
    const std::string engine = inherited(host, "SSLEngine", engine_);
    return engine.empty() ? !inherited(host, "SSLCertificateFile", certificate_).empty() &&
                                std::any_of(host.addresses.begin(), host.addresses.end(),
                                            [this](const std::string& address) {
                                                return listensForTls(reading_, endpointOf(address));
                                            })
                          : engine == "on";
}

bool Protocols::isTls(const Endpoint& at) const {
    const NameMap::Entry* entry = reading_.names().entryFor(at);
    return entry != nullptr && !entry->hosts.empty() && isTls(reading_.hosts()[entry->hosts.front()]);
}

}  // namespace zpweb
