#include "server/Protocol.h"

#include <algorithm>

namespace zpweb {

namespace {

constexpr int HttpsPort = 443;

// Of the host itself, or else of the server.
std::string inherited(const Reading& reading, const VirtualHost& host, std::string_view directive) {
    const std::string own =
        host.directive == Directive::None ? "" : reading.valueIn(host.directive, directive);
    return lowerCase(own.empty() ? reading.valueIn(Directive::None, directive) : own);
}

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

bool speaksTls(const Reading& reading, const VirtualHost& host) {
    const std::string engine = inherited(reading, host, "SSLEngine");
    return engine.empty() ? !inherited(reading, host, "SSLCertificateFile").empty() &&
                                std::any_of(host.addresses.begin(), host.addresses.end(),
                                            [&reading](const std::string& address) {
                                                return listensForTls(reading, endpointOf(address));
                                            })
                          : engine == "on";
}

}  // namespace zpweb
