#include "settings/TlsChange.h"

#include <algorithm>
#include <functional>

#include "server/Postconditions.h"
#include "server/Sockets.h"
#include "settings/HttpsBlocks.h"
#include "settings/KeptCertificate.h"
#include "settings/Lineage.h"
#include "settings/Modules.h"
#include "settings/Proof.h"
#include "settings/RedirectChange.h"
#include "settings/SiteFacts.h"
#include "settings/SiteSettings.h"

namespace zpweb {

namespace {

Outcome refused(const std::vector<std::string>& faults) {
    std::string message = "the certificate is refused, nothing is changed:";
    for (const std::string& fault : faults) {
        message += "\n" + fault;
    }
    return failure(Status::Refused, message);
}

Outcome usable(const TlsSetting& setting, const std::vector<std::string>& names) {
    const auto faults =
        faultsOf(setting.files, setting.anyName ? std::vector<std::string>() : names, std::time(nullptr));
    return faults.empty() ? done() : refused(faults);
}

std::string ownTlsLines(const Block& block) {
    std::string names;
    for (const char* directive :
         {"SSLEngine", "SSLCertificateFile", "SSLCertificateKeyFile", "SSLCertificateChainFile"}) {
        if (!argumentsIn(block, directive).empty()) {
            names += (names.empty() ? "" : ", ") + std::string(directive);
        }
    }
    return names;
}

// A certificate that a block names by itself stays the block's own.
Outcome hasNoOther(const Transaction& change, const std::string& site) {
    for (const Place& place : change.configuration().find(site)) {
        if (!place.block->stopped && !argumentsIn(*place.block, "SSLCertificateFile").empty()) {
            return failure(
                Status::Exists,
                place.text() + ": the block names a certificate by itself; first take away, in " +
                    "this order, its " + ownTlsLines(*place.block) +
                    " (zpweb directive delete; with zpweb apply it is one change, and https stays up)");
        }
    }
    return done();
}

bool isForOtherPorts(const Block& block, int port) {
    const auto addresses = addressesOf(block);
    return hasPort(block, port) &&
           !std::all_of(addresses.begin(), addresses.end(),
                        [port](const std::string& each) { return hostPortOf(each).port == port; });
}

// What a block says of TLS holds for all of its ports and, where it is the first one there, for all sites.
Outcome isForHttpsAlone(const Transaction& change, const std::string& site, int port) {
    const std::string file =
        settingPath(change.configuration().main().path(), settingName(site), Setting::Tls);
    for (const Place& place : change.configuration().find(site)) {
        const Block& block = *place.block;
        if (block.stopped || includes(block, file)) {
            continue;
        }
        if (block.tlsUndecided && !hasPort(block, port)) {
            return failure(Status::Refused,
                           place.text() +
                               ": its SSLEngine stands in a condition; only the server can tell whether "
                               "TLS is spoken there, and its word is missing");
        }
        if (!block.tls && isForOtherPorts(block, port)) {
            return failure(Status::Refused, place.text() + ": TLS would be spoken at all of " +
                                                std::string(block.addresses) + "; take " +
                                                std::to_string(port) +
                                                " away there, and https gets a block of its own");
        }
    }
    return done();
}

// A wildcard stands for any label.
std::string nameToAsk(const std::string& name) {
    return name.starts_with("*.") ? "zpweb-asks" + name.substr(1) : name;
}

// As the change's last command has left it.
Outcome proveTls(const Transaction& change, const std::string& site) {
    const auto setting = tlsOf(change, site);
    if (!setting) {
        return done();
    }
    const std::string file =
        settingPath(change.configuration().main().path(), settingName(site), Setting::Tls);
    const std::vector<Place> places = change.configuration().find(site);
    if (const auto facts = factsOf(setting->files.certificate); !facts.ok()) {
        return facts.outcome();
    }
    // It is asked again only which names it need not cover: its directory's owner may have exchanged it.
    const auto missing = setting->anyName ? uncovered(setting->files.certificate, namesOf(places))
                                          : std::vector<std::string>();
    for (const Place& place : places) {
        if (place.block->stopped || !includes(*place.block, file)) {
            continue;
        }
        for (const Peer& peer : peersOf(change.configuration(), place, change.reading())) {
            for (const std::string& name : namesOf({place})) {
                if (name != settingName(place.block->name) &&
                    std::find(missing.begin(), missing.end(), name) != missing.end()) {
                    continue;
                }
                Outcome shown = shownInTime(
                    [&] { return showsCertificate(peer, nameToAsk(name), setting->fingerprint); });
                if (!shown.ok()) {
                    return shown;
                }
            }
        }
    }
    return done();
}

// What leads to https may stand in a file that a block includes which was copied.
Outcome proveEnd(const Transaction& change, const std::string& site, int port) {
    for (const Place& place : answeringBlocks(change.configuration(), site)) {
        for (const Peer& peer : peersOf(change.configuration(), place, change.reading())) {
            const std::string name = settingName(place.block->name);
            const std::string here =
                "https://" + name + (port == TlsSetting{}.port ? "" : ":" + std::to_string(port)) + "/";
            const auto leads = [&] {
                const auto reply = ask({peer, name, "/", true});
                return reply.ok() && reply->header("Location") == here;
            };
            if (peer.port == port && leads()) {
                return failure(here +
                               " leads to itself, by a line for http that the block of https has, "
                               "too: take it away, and use --redirect");
            }
        }
    }
    return done();
}

KeptCertificate keptOf(const Transaction& change, const TlsSetting& setting) {
    return {change.state().directory, setting.files};
}

int httpPortOf(const std::vector<Place>& places, int httpsPort) {
    for (const Place& place : places) {
        for (const std::string& address : addressesOf(*place.block)) {
            if (const int port = hostPortOf(address).port; port != 0 && port != httpsPort) {
                return port;
            }
        }
    }
    return 80;
}

Outcome provideServer(Transaction& change, const std::string& site, const TlsSetting& setting) {
    std::vector<std::string> modules = {"ssl"};
    if (setting.hsts > 0) {
        modules.emplace_back("headers");
    }
    Outcome outcome = requireModules(change, modules);
    const int http = httpPortOf(change.configuration().find(site), setting.port);
    return outcome.ok() ? requireListen(change, setting.port, http) : outcome;
}

bool isAddress(const Socket& socket) {
    return socket.host.find_first_not_of("0123456789abcdefABCDEF:.") == std::string::npos;
}

// A Listen line for the port alone may be for other addresses. What one with a variable or a name stands
// for is the server's to know.
Outcome isListenedTo(const Configuration& configuration, const std::vector<std::string>& made) {
    const std::vector<Socket> sockets = askable(configuration);
    for (const std::string& each : made) {
        const Endpoint at = endpointOf(each);
        const bool heard = std::any_of(sockets.begin(), sockets.end(), [&at](const Socket& socket) {
            return socket.port == at.port &&
                   (at.address == "*" || !isAddress(socket) || takes(socket, at.address));
        });
        if (!heard) {
            return failure(Status::Refused, "the server does not listen on " + each +
                                                ": zpweb directive insert Listen " + each +
                                                " --after Listen");
        }
    }
    return done();
}

// What the server has come through with is at hand when a renewal fails.
void keepOnceCertain(Transaction& change, const TlsSetting& setting) {
    const KeptCertificate kept = keptOf(change, setting);
    if (isNumberedLink(setting.files.certificate) || kept.is(setting.fingerprint)) {
        return;
    }
    change.afterwards([&change, kept] {
        if (Outcome copied = kept.keep(); !copied.ok()) {
            change.output().warning("no copy of the certificate is kept for a renewal that fails: " +
                                    copied.message);
        }
        return done();
    });
}

Outcome bringBackCertificate(const KeptCertificate& kept, const std::string& certificate,
                             const std::string& fingerprint) {
    return kept.is(fingerprint) ? kept.bringBack() : leadBack(certificate, fingerprint);
}

Outcome writeTls(Transaction& change, const std::string& site, const TlsSetting& setting, bool overwrite) {
    change.prove([&change, site] { return proveTls(change, site); });
    keepOnceCertain(change, setting);
    return applySetting(change, {site, Setting::Tls, overwrite}, askedOf(setting), directivesOf(setting),
                        [&](const Block& block) { return speaksTls(block, setting.port); });
}

// The server starts with the one before, too. Where a call went wrong, nothing is known against the new
// one.
Outcome leaveIt(const Transaction& change, Outcome refusal, const std::function<Outcome()>& goBack) {
    Outcome back = change.settings().dryRun || !change.fault().ok() ? done() : goBack();
    return back.ok() ? refusal : failure(refusal.status, refusal.message + "\n" + back.message);
}

// Without it nobody knows which blocks were made for it.
Outcome isKnown(const Transaction& change, const std::string& site) {
    const std::string file =
        settingPath(change.configuration().main().path(), settingName(site), Setting::Tls);
    const auto setting = settingOf(change, site, Setting::Tls);
    return setting && !tlsFrom(setting->asked)
               ? failure(
                     file +
                     ": its second line, which tells what was asked for, cannot be read any more; put it "
                     "back, or \"zpweb undo\" the change that made it")
               : done();
}

}  // namespace

std::optional<TlsSetting> tlsOf(const Transaction& change, const std::string& site) {
    const auto now = settingOf(change, site, Setting::Tls);
    return now ? tlsFrom(now->asked) : std::nullopt;
}

void forgetKeptCertificate(Transaction& change, const std::string& site) {
    const auto setting = tlsOf(change, site);
    if (setting && !isNumberedLink(setting->files.certificate)) {
        change.afterwards([kept = keptOf(change, *setting)] {
            kept.forget();
            return done();
        });
    }
}

Outcome setTls(Transaction& change, const std::string& site, TlsSetting setting, bool overwrite) {
    const std::vector<std::string> names = namesOf(change.configuration().find(site));
    Outcome outcome = usable(setting, names);
    outcome = outcome.ok() ? isKnown(change, site) : outcome;
    outcome = outcome.ok() ? hasNoOther(change, site) : outcome;
    outcome = outcome.ok() ? isForHttpsAlone(change, site, setting.port) : outcome;
    if (!outcome.ok()) {
        return outcome;
    }
    const auto facts = factsOf(setting.files.certificate);
    if (!facts.ok()) {
        return facts.outcome();
    }
    if (const std::string spoilable = spoilablePart(setting.files); !spoilable.empty()) {
        change.output().warning(spoilable);
    }
    change.asked().moving.insert(settingName(site));  // its names get listeners of their own
    expectOwnVisitors(change, site, setting.redirect ? "" : std::to_string(setting.port));
    change.expect(hostNameIn(site), "visitors of https",
                  takesRequests({hostNameIn(site), std::to_string(setting.port)}));
    setting.fingerprint = facts->fingerprint;
    const auto before = tlsOf(change, site);
    setting.made = before ? before->made : setting.made;
    outcome = provideServer(change, site, setting);
    outcome = outcome.ok() ? makeHttpsBlocks(change, site, setting.port, setting.made) : outcome;
    outcome = outcome.ok() ? isListenedTo(change.configuration(), setting.made) : outcome;
    outcome = outcome.ok() ? writeTls(change, site, setting, overwrite) : outcome;
    if (!before || before->made.size() < setting.made.size()) {
        change.prove([&change, site, port = setting.port] { return proveEnd(change, site, port); });
    }
    const int redirect = setting.redirect ? setting.port : 0;
    if (!outcome.ok() || redirectsOf(change, site).httpsPort == redirect) {
        return outcome;
    }
    return changeRedirects(change, site, overwrite,
                           [&](RedirectSetting& redirects) { redirects.httpsPort = redirect; });
}

namespace {

// What lines of the site's own switch on goes on.
void tellOwnTls(Transaction& change, const std::string& site) {
    const Reading* reading = change.live();
    for (const VirtualHost* host :
         reading != nullptr ? reading->hostsOf(hostNameIn(site)) : std::vector<const VirtualHost*>()) {
        const auto lines = host->directive == Directive::None
                               ? std::vector<const Directive*>()
                               : reading->inSection(host->directive, "SSLEngine");
        if (!lines.empty() && lowerCase(lines.back()->arguments) == "on") {
            change.output().warning("\"SSLEngine on\" at " + reading->originOf(*lines.back()).text() +
                                    " serves " + site +
                                    " over https without a setting, and goes on to do so");
        }
    }
}

}  // namespace

Outcome dropTls(Transaction& change, const std::string& site, bool overwrite) {
    if (Outcome known = isKnown(change, site); !known.ok()) {
        return known;
    }
    change.asked().moving.insert(settingName(site));
    const auto now = tlsOf(change, site);
    if (!now) {
        tellOwnTls(change, site);
    }
    forgetKeptCertificate(change, site);
    Outcome outcome = dropSetting(change, {site, Setting::Tls, overwrite});
    if (outcome.ok() && redirectsOf(change, site).httpsPort != 0) {
        outcome = changeRedirects(change, site, overwrite,
                                  [](RedirectSetting& redirects) { redirects.httpsPort = 0; });
    }
    return outcome.ok() && now ? dropHttpsBlocks(change, site, now->made, overwrite) : outcome;
}

Outcome renewTls(Transaction& change, const std::string& site) {
    auto setting = tlsOf(change, site);
    if (!setting) {
        return failure(Status::NotFound, site + ": it has no TLS setting (zpweb tls on)");
    }
    const std::vector<std::string> names = namesOf(change.configuration().find(site));
    const auto facts = factsOf(setting->files.certificate);
    if (facts.ok() && facts->fingerprint == setting->fingerprint) {
        return done();
    }
    const auto goBack = [kept = keptOf(change, *setting), certificate = setting->files.certificate,
                         before = setting->fingerprint] {
        return bringBackCertificate(kept, certificate, before);
    };
    if (Outcome sound = usable(*setting, names); !sound.ok()) {
        return leaveIt(change, sound, goBack);
    }
    if (!facts.ok()) {
        return facts.outcome();
    }
    change.whenTakenBack(goBack);
    setting->fingerprint = facts->fingerprint;
    return writeTls(change, site, *setting, false);
}

}  // namespace zpweb
