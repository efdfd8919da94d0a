#include "settings/Proof.h"

#include <chrono>
#include <thread>

#include "server/Postconditions.h"

namespace zpweb {

Outcome shownInTime(const std::function<Outcome()>& proof) {
    using namespace std::chrono_literals;
    const auto until = std::chrono::steady_clock::now() + 5s;
    Outcome outcome = proof();
    while (!outcome.ok() && std::chrono::steady_clock::now() < until) {
        std::this_thread::sleep_for(100ms);
        outcome = proof();
    }
    return outcome;
}

Outcome showsCertificate(const Peer& peer, const std::string& name, const std::string& fingerprint) {
    const std::string where = name + " at " + peer.address + " port " + std::to_string(peer.port);
    const auto shown = certificateShown(peer, name);
    if (!shown.ok()) {
        return failure(where + ": " + shown.outcome().message);
    }
    return *shown == fingerprint ? done()
                                 : failure(where + " shows another certificate (SHA-256 " + *shown + ")");
}

Outcome redirects(const Request& request, const std::string& to) {
    const auto reply = ask(request);
    if (!reply.ok()) {
        return failure(described(request) + ": " + reply.outcome().message);
    }
    const std::string location = reply->header("Location");
    return location == to
               ? done()
               : failure(described(request) + " answers " + std::to_string(reply->status) +
                         (location.empty() ? "" : " to " + location) + ", not a redirect to " + to);
}

void expectVisitors(Transaction& change, const std::string& site) {
    change.expect(hostNameIn(site), "visitors", takesRequests({hostNameIn(site)}));
}

std::string described(const Request& request) {
    return std::string(request.tls ? "https" : "http") + "://" + request.host + request.path + " at " +
           request.server.address + " port " + std::to_string(request.server.port);
}

}  // namespace zpweb
