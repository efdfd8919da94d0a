#include "settings/RedirectChange.h"

#include <algorithm>

#include "server/Postconditions.h"
#include "settings/Modules.h"
#include "settings/Proof.h"
#include "settings/SiteFacts.h"
#include "settings/SiteSettings.h"

namespace zpweb {

namespace {

constexpr const char* ProbePath = "zpweb-asks?a=%2F";

std::string authority(const std::string& scheme, const std::string& host, int port) {
    const int usual = scheme == "https" ? 443 : 80;
    return scheme + "://" + host + (port == usual ? "" : ":" + std::to_string(port));
}

struct Expectation {
    Request request;
    std::string location;
};

void expectPath(std::vector<Expectation>& expected, Request request, const PathRedirect& path) {
    const std::string below = path.path == "/" ? "/" : path.path + "/";
    request.path = below + ProbePath;
    std::string to = path.to;
    if (path.keepPath) {
        to = (to.ends_with('/') ? to.substr(0, to.size() - 1) : to) + "/" + ProbePath;
    }
    expected.push_back({request, to});
}

// What a visitor who comes to one place of the site by its name is led to.
std::vector<Expectation> expectations(const RedirectSetting& setting, const Request& start,
                                      const std::string& name) {
    std::vector<Expectation> expected;
    bool whole = false;
    for (const PathRedirect& path : setting.paths) {
        expectPath(expected, start, path);
        whole = whole || path.path == "/";
    }
    Request request = start;
    request.path = std::string("/") + ProbePath;
    const std::string host = setting.canonical.empty() ? name : setting.canonical;
    const bool toHttps = setting.httpsPort != 0 && !start.tls;
    if (whole || (!toHttps && (setting.canonical.empty() || name == host))) {
        return expected;
    }
    const std::string scheme = setting.httpsPort != 0 || start.tls ? "https" : "http";
    const int port = setting.httpsPort != 0 ? setting.httpsPort : start.server.port;
    expected.push_back({request, authority(scheme, host, port) + request.path});
    return expected;
}

// By the server's reading; a line that is included may give it to a block.
bool isOfSite(const Reading* reading, const std::string& site, const std::string& name) {
    const auto hosts = reading == nullptr ? std::vector<const VirtualHost*>() : reading->hostsOf(site);
    return reading == nullptr ||
           std::any_of(reading->endpoints().begin(), reading->endpoints().end(), [&](const Endpoint& each) {
               return std::find(hosts.begin(), hosts.end(), reading->carrierOf(name, each)) != hosts.end();
           });
}

// As the change's last command has left them. Where another block of the site has the name that leads away,
// and this one has not, its visitors come by its own.
Outcome proveRedirects(Transaction& change, const std::string& site) {
    const RedirectSetting setting = redirectsOf(change, site);
    const std::vector<Place> places = answeringBlocks(change.configuration(), site);
    const std::string twin = setting.canonical.empty() ? "" : twinOf(setting.canonical);
    const bool isCarried = !twin.empty() && carry(namesOf(places), twin);
    const bool isIncluded =
        !twin.empty() && !isCarried && isOfSite(change.reading(), hostNameIn(site), twin);
    for (const Place& place : places) {
        const std::string name = settingName(place.block->name);
        const bool asked = isIncluded || (isCarried && carry(namesOf({place}), twin));
        const std::string start = asked ? twin : name;
        for (const Peer& peer : peersToAsk(change, place)) {
            const bool tls =
                speaksTls(place, peer, change.reading(), setting.httpsPort == 0 ? 443 : setting.httpsPort);
            for (const Expectation& each : expectations(setting, {peer, start, "/", tls}, start)) {
                Outcome shown = shownInTime([&] { return redirects(each.request, each.location); });
                if (!shown.ok()) {
                    return shown;
                }
            }
        }
    }
    return done();
}

}  // namespace

RedirectSetting redirectsOf(const Transaction& change, const std::string& site) {
    const auto now = settingOf(change, site, Setting::Redirect);
    const auto known = now ? redirectsFrom(now->asked) : std::nullopt;
    return known.value_or(RedirectSetting{});
}

void expectCanonical(Transaction& change, const std::string& site) {
    change.expect(hostNameIn(site), "canonical", [&change, site](const Reading& staged) {
        const std::string name = redirectsOf(change, site).canonical;
        return name.empty() || isOfSite(&staged, hostNameIn(site), name)
                   ? done()
                   : notShown("visitors are led to " + name +
                              ", which is no name of the site then: take that back first (zpweb site "
                              "canonical " +
                              site + " off)");
    });
}

Outcome changeRedirects(Transaction& change, const std::string& site, bool overwrite,
                        const std::function<void(RedirectSetting&)>& edit) {
    RedirectSetting setting = redirectsOf(change, site);
    edit(setting);
    if (setting.isEmpty()) {
        return dropSetting(change, {site, Setting::Redirect, overwrite});
    }
    Outcome outcome = requireModules(change, {"rewrite"});
    outcome = outcome.ok() ? applySetting(change, {site, Setting::Redirect, overwrite}, askedOf(setting),
                                          directivesOf(setting))
                           : outcome;
    change.prove([&change, site] { return proveRedirects(change, site); });
    return outcome;
}

}  // namespace zpweb
