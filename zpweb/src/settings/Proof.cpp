#include "settings/Proof.h"

#include <algorithm>
#include <chrono>
#include <thread>

#include "server/Postconditions.h"
#include "settings/SiteFacts.h"
#include "settings/SiteSettings.h"

namespace zpweb {

namespace {

// mod_md answers all requests so, until it has a certificate.
bool isUnavailable(const Peer& peer, const std::string& name) {
    const auto reply = ask({peer, name, "/", true});
    return reply.ok() && reply->status == 503;
}

}  // namespace

std::vector<Peer> peersToAsk(Transaction& change, const Place& place, const std::string& path) {
    std::vector<Peer> peers = peersOf(change.configuration(), place, change.reading());
    const bool closed = asksForCertificates(place, change.reading(), path);
    if (!closed && !namesNoCertificate(place, change.reading())) {
        return peers;
    }
    const std::string name = settingName(place.block->name);
    std::erase_if(peers, [&](const Peer& peer) {
        const bool unanswered =
            speaksTls(place, peer, change.reading()) && (closed || isUnavailable(peer, name));
        if (unanswered) {
            const std::string where = name + " at " + peer.address + " port " + std::to_string(peer.port);
            change.shared().value<bool>("not asked " + where, [&] {
                change.output().note(where +
                                     (closed
                                          ? " lets in only visitors with a certificate (SSLVerifyClient)"
                                          : " answers 503, as all do for which mod_md has no certificate "
                                            "yet") +
                                     ": what it answers was not looked at");
                return true;
            });
        }
        return unanswered;
    });
    return peers;
}

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

void expectOwnVisitors(Transaction& change, const std::string& site, const std::string& port) {
    const std::string name = hostNameIn(site);
    expectVisitors(change, site);
    change.expect(name, "visitors by name " + port, leadsToSiteIfServed({name, port}));
    change.expect(name, "read at all", [&change, site, name](const Reading& staged) {
        const auto places = answeringBlocks(change.configuration(), site);
        const bool isNamed = std::any_of(places.begin(), places.end(), [&](const Place& place) {
            return hostNameIn(place.block->name) == name;
        });
        return isNamed ? isServed({name})(staged) : done();
    });
}

std::string described(const Request& request) {
    return std::string(request.tls ? "https" : "http") + "://" + request.host + request.path + " at " +
           request.server.address + " port " + std::to_string(request.server.port);
}

}  // namespace zpweb
