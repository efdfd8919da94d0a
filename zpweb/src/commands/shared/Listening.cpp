#include "commands/shared/Listening.h"

#include <algorithm>
#include <map>

#include "CZPWebsite.h"
#include "conf/Address.h"
#include "host/Paths.h"
#include "input/Quoted.h"
#include "input/Typed.h"
#include "server/Sockets.h"
#include "sys/Number.h"
#include "sys/Process.h"

namespace zpweb {

namespace {

constexpr const char* AnyAddress = "*";

bool isUsable(const std::string& address) { return typedValue(Kind::Listener, "", address, "").ok(); }

}  // namespace

std::string Listening::text() const { return zp::conf::inBrackets(address) + ":" + port; }

std::string Listening::listenLine() const { return "Listen " + (address == AnyAddress ? port : text()); }

std::string usualAddress(const Configuration& configuration, const std::string& port) {
    std::map<std::string, int> uses;
    for (const auto& [each, count] : configuration.addresses()) {
        const std::string address = bareAddress(each);
        if (each.ends_with(":" + port) && isUsable(address)) {
            uses[address] += count;
        }
    }
    const auto most = std::max_element(uses.begin(), uses.end(), [](const auto& one, const auto& other) {
        return one.second < other.second;
    });
    return most == uses.end() ? AnyAddress : most->first;
}

Outcome isOfThisHost(const std::string& address) {
    constexpr int AnyPort = 0;
    return address == AnyAddress || !isBusy({address, AnyPort})
               ? done()
               : failure(Status::Refused,
                         "address " + inQuotes(address) +
                             ": this host does not have it; expected one of its own, or *");
}

bool isListening(const Configuration& configuration, const Listening& wanted) {
    const std::vector<Socket> sockets = askable(configuration);
    return std::any_of(sockets.begin(), sockets.end(), [&](const Socket& socket) {
        return std::to_string(socket.port) == wanted.port &&
               (wanted.address == AnyAddress || takes(socket, wanted.address));
    });
}

std::string usualPort() {
    std::string port = "80";
    const Capture quiet;
    getParamFromZPConfFile(zp::host::path::ProductConfiguration, port, "WebServerPort");
    return port;
}

}  // namespace zpweb
