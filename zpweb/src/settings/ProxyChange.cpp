#include "settings/ProxyChange.h"

#include <algorithm>

#include "input/Network.h"
#include "input/Quoted.h"
#include "input/Url.h"
#include "server/PassedOn.h"
#include "server/Program.h"
#include "settings/Modules.h"
#include "settings/Proof.h"
#include "settings/SiteFacts.h"
#include "settings/SiteSettings.h"
#include "sys/Number.h"

namespace zpweb {

namespace {

ProxySetting proxiesOf(const Transaction& change, const std::string& site) {
    const auto now = settingOf(change, site, Setting::Proxy);
    const auto known = now ? proxiesFrom(now->asked) : std::nullopt;
    return known.value_or(ProxySetting{});
}

// "Apache/2.4.57": websockets by an option came with 2.4.47.
Upgrade upgradeOfServer() {
    const std::string& told = printedVersion();
    constexpr std::string_view Beginning = "Apache/2.4.";
    if (const size_t at = told.find(Beginning); at != std::string::npos) {
        const int patch = leadingNumber(std::string_view(told).substr(at + Beginning.size()));
        return patch >= 47 ? Upgrade::ByOption : Upgrade::ByRule;
    }
    return Upgrade::ByOption;
}

std::vector<std::string> modulesFor(const ProxySetting& setting) {
    std::vector<std::string> modules = {"proxy", "proxy_http", "headers"};
    for (const ProxyPath& each : setting.paths) {
        if (each.url.starts_with("https:")) {
            modules.emplace_back("ssl");
        }
        if (each.websocket && setting.upgrade == Upgrade::ByRule) {
            modules.insert(modules.end(), {"rewrite", "proxy_wstunnel"});
        }
    }
    return modules;
}

// An address can be asked; what a name stands for is the server's to find out.
Endpoint addressOf(const Url& url) { return {url.host == "localhost" ? "127.0.0.1" : url.host, url.port}; }

Expected<Connection> connectedTo(const Url& url) {
    const Endpoint at = addressOf(url);
    return Connection::to({at.address, at.port});
}

// Where TLS is spoken a plain request is a bad one, or gets no answer.
bool wantsTls(const Url& url, const std::string& host) {
    constexpr int NotUnderstood = 400;
    const Endpoint at = addressOf(url);
    const Peer peer{at.address, at.port};
    const auto reply =
        ask({.server = peer, .host = host, .path = url.path.empty() ? "/" : url.path, .method = "HEAD"});
    return (!reply.ok() || reply->status == NotUnderstood) && certificateShown(peer, host).ok();
}

// The server answers 500 or 400 then, as an application may.
Outcome speaksItsScheme(Connection application, const Url& url, const std::string& host) {
    const std::string place = url.host + ":" + std::to_string(url.port) + ": ";
    if (url.scheme == "http") {
        { const Connection closed = std::move(application); }  // it may answer one at a time
        return wantsTls(url, host) ? failure(place + "it speaks TLS; is it one for https://?") : done();
    }
    const Outcome spoken = application.startTls(host);
    return spoken.ok() ? spoken : failure(place + spoken.message + "; is it one for http://?");
}

// The application is asked by the site's own name, which the server takes for the site wherever that
// listens. What it passes on within the path it would pass on again.
bool leadsToItself(const Transaction& change, const std::string& site, const std::string& path,
                   const Url& url) {
    const Endpoint at = addressOf(url);
    const Reading* live = change.live();
    const bool isHere = holdsAddress("127.0.0.0/8", at.address) || at.address == "::1";
    if (!isHere || live == nullptr) {
        return false;
    }
    const auto& endpoints = live->endpoints();
    const bool listens = std::any_of(endpoints.begin(), endpoints.end(), [&at](const Endpoint& each) {
        return each == at || each == Endpoint{"*", at.port};
    });
    const VirtualHost* host = listens ? live->leadsTo(site, at) : nullptr;
    const std::string below = path == "/" ? "/" : path + "/";
    return host != nullptr && host->names.name == site && (url.path + "/").starts_with(below);
}

Outcome isPassedOn(const Request& request) {
    const auto reply = ask(request);
    if (!reply.ok()) {
        return failure(described(request) + ": " + reply.outcome().message);
    }
    const bool fails = reply->status == 502 || reply->status == 503 || reply->status == 504;
    return fails ? failure(described(request) + " answers " + std::to_string(reply->status) +
                           ": the server does not reach the application")
                 : done();
}

Outcome proveProxy(Transaction& change, const std::string& site, const std::string& path) {
    for (const Place& place : answeringBlocks(change.configuration(), site)) {
        const std::string name = settingName(place.block->name);
        for (const Peer& peer : peersToAsk(change, place)) {
            const Request request{peer, name, path, speaksTls(place, peer, change.reading())};
            if (Outcome shown = shownInTime([&] { return isPassedOn(request); }); !shown.ok()) {
                return shown;
            }
        }
    }
    return done();
}

Outcome writeProxies(Transaction& change, const std::string& site, const ProxySetting& setting,
                     bool overwrite) {
    Outcome outcome = requireModules(change, modulesFor(setting));
    return outcome.ok() ? applySetting(change, {site, Setting::Proxy, overwrite}, askedOf(setting),
                                       directivesOf(setting))
                        : outcome;
}

std::string aboutPath(const std::string& path) { return "proxy " + path + " "; }

}  // namespace

Outcome setProxy(Transaction& change, const std::string& site, const ProxyPath& path, bool overwrite) {
    ProxySetting setting = proxiesOf(change, site);
    setting.upgrade = upgradeOfServer();
    setting.set(path);
    const std::string name = hostNameIn(site);
    expectOwnVisitors(change, site);
    change.expect(
        name, aboutPath(path.path),
        passedOnBy({name}, path.path,
                   settingPath(change.configuration().main().path(), settingName(site), Setting::Proxy)));
    change.expect(name, aboutPath(path.path) + "led away",
                  isNotLedAway({name}, path.path, ": take that line away first"));
    const auto url = urlFrom(path.url);
    if (!url.ok()) {
        return url.outcome();
    }
    if (leadsToItself(change, name, path.path, *url)) {
        return failure(Status::Usage, "URL " + inQuotes(path.url) + ": it would lead to itself");
    }
    if (auto application = connectedTo(*url); !application.ok()) {
        change.output().note("the application does not answer now: " + application.outcome().message);
    } else if (Outcome spoken = speaksItsScheme(std::move(*application), *url, hostNameIn(site));
               !spoken.ok()) {
        return spoken;
    } else {
        change.prove([&change, site, path] { return proveProxy(change, site, path.path); });
    }
    return writeProxies(change, site, setting, overwrite);
}

Outcome removeProxy(Transaction& change, const std::string& site, const std::string& path, bool overwrite) {
    ProxySetting setting = proxiesOf(change, site);
    setting.upgrade = upgradeOfServer();
    change.release(hostNameIn(site), aboutPath(path));
    if (!setting.remove(path)) {
        return isNotThere("path " + inQuotes(path) + ": no application answers for it");
    }
    return setting.paths.empty() ? dropSetting(change, {site, Setting::Proxy, overwrite})
                                 : writeProxies(change, site, setting, overwrite);
}

}  // namespace zpweb
