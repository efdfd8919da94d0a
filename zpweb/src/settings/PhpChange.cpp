#include "settings/PhpChange.h"

#include <sys/stat.h>

#include <algorithm>
#include <memory>
#include <set>

#include "server/DirectoryPaths.h"
#include "server/FileHandlers.h"
#include "server/PassedOn.h"
#include "server/ServerUser.h"
#include "settings/Modules.h"
#include "settings/PhpProbe.h"
#include "settings/PhpSources.h"
#include "settings/Proof.h"
#include "settings/SiteFacts.h"
#include "settings/SiteSettings.h"
#include "sys/File.h"
#include "sys/Ground.h"
#include "sys/Printable.h"

namespace zpweb {

namespace {

constexpr const char* PassedOn = "php passed on";

// A document root as blocks of the site write it, with what it comes to.
struct Root {
    std::string written, effective;
};

std::vector<Root> rootsOf(const Transaction& change, const std::string& site) {
    const Configuration& configuration = change.configuration();
    std::vector<Root> roots;
    for (const Place& place : configuration.find(site)) {
        const bool plain = place.block->root.starts_with('/');
        if (place.block->stopped) {
            continue;
        }
        const Root root{std::string(place.block->root),
                        rootInEffect(place, plain ? nullptr : change.live())};
        if (!root.effective.empty() && std::none_of(roots.begin(), roots.end(), [&](const Root& other) {
                return other.written == root.written && other.effective == root.effective;
            })) {
            roots.push_back(root);
        }
    }
    return roots;
}

// Where the site's blocks with this document root can be asked.
std::vector<Request> placesWith(Transaction& change, const std::string& site, const Root& root) {
    std::vector<Request> requests;
    for (const Place& place : answeringBlocks(change.configuration(), site)) {
        if (place.block->root != root.written) {
            continue;
        }
        for (const Peer& peer : peersToAsk(change, place)) {
            requests.push_back(
                {peer, settingName(place.block->name), "/", speaksTls(place, peer, change.reading())});
        }
    }
    return requests;
}

// Looked at once in a change: the name of the PID file may stand in any file of the configuration.
bool isRunning(Transaction& change) {
    return change.shared().value<bool>(
        "server runs", [&change] { return change.server().master(change.configuration()).has_value(); });
}

// What would be found out after the reload alone.
Outcome canBeShown(Transaction& change, const std::string& site, const Root& root, const PhpProbe& probe) {
    const bool isShown = change.settings().reload && !placesWith(change, site, root).empty() &&
                         !change.plansToMake(withoutSlash(root.effective)) && isRunning(change);
    const Outcome can = isShown ? probe.canBeMade() : done();
    return can.ok() ? can
                    : failure(Status::Refused,
                              "no script could show that PHP runs in the document root: " + can.message +
                                  "; make the directory, or name another one (zpweb "
                                  "directive set DocumentRoot)");
}

// The script is in the journal before it is made.
Outcome probeIn(Transaction& change, const std::string& site, const Root& root) {
    const PhpProbe probe(root.effective);
    if (Outcome can = canBeShown(change, site, root, probe); !can.ok()) {
        return can;
    }
    for (const std::string& path : {probe.path(), probe.plainPath()}) {
        change.temporary(path);
    }
    change.prove([&change, site, root, probe] {
        std::string version;
        Outcome run = probe.run(placesWith(change, site, root), version);
        change.output().set("version", known(version));
        const Reading* reading = change.reading();
        const std::string other = reading == nullptr ? ""
                                                     : ownHandler(*reading, hostNameIn(site),
                                                                  root.effective, nameOf(probe.path()));
        return run.ok() || other.empty()
                   ? run
                   : failure(run.message + "; " + other + " says what handles such files");
    });
    return done();
}

// Whether the server, by its reading of the live configuration, reads a directive at the place. Where it
// cannot be asked, every place counts.
bool isReadAt(const Transaction& change, const Origin& place) {
    const Reading* reading = change.live();
    return reading == nullptr ||
           std::any_of(reading->directives().begin(), reading->directives().end(),
                       [&](const Directive& each) {
                           const Origin origin = reading->originOf(each);
                           return origin.line == place.line && origin.file == place.file;
                       });
}

Outcome staysUnread(Transaction& change, const std::string& site, const Root& root,
                    const std::string& script) {
    for (Request& request : placesWith(change, site, root)) {
        request.path = pathOnWire(script);
        Outcome shown = shownInTime([&] {
            const auto reply = ask(request);
            return reply.ok() && reply->status == 200 && reply->body.find("<?") != std::string::npos
                       ? failure(described(request) + " shows the script's source")
                       : done();
        });
        if (!shown.ok()) {
            return shown;
        }
    }
    return done();
}

std::string versionOf(const std::string& fpm) {
    for (const Pool& pool : poolsOfHost()) {
        if (pool.listen == fpm) {
            return pool.version;
        }
    }
    return {};
}

// The server's own user can ask all pools anyhow.
void tellWhoLeadsElsewhere(Transaction& change, const std::string& fpm) {
    const std::string part = fpm.starts_with('/') ? othersGround(fpm) : "";
    const auto server = answeringUser(change.configuration(), change.live());
    struct stat status {};
    if (!part.empty() && ::lstat(part.c_str(), &status) == 0 &&
        (!server || status.st_uid != server->user)) {
        change.output().warning(fpm + ": " + part +
                                " is not root's alone: who can exchange the socket leads the requests to "
                                "another pool, and has scripts run as its user");
    }
}

}  // namespace

Outcome setPhp(Transaction& change, const std::string& site, PhpSetting setting, bool overwrite) {
    const auto& reached =
        change.shared().value<Outcome>("pool " + setting.fpm, [&setting] { return accepts(setting.fpm); });
    if (!reached.ok()) {
        return failure("no FPM pool answers: " + reached.message + " (zpweb php list shows the pools)");
    }
    tellWhoLeadsElsewhere(change, setting.fpm);
    setting.version = versionOf(setting.fpm);
    expectOwnVisitors(change, site);
    change.expect(hostNameIn(site), PassedOn,
                  answersItself({hostNameIn(site)}, "/index.php",
                                ", and no script of the site is run: take that line away first"));
    for (const Root& root : rootsOf(change, site)) {
        if (Outcome probed = probeIn(change, site, root); !probed.ok()) {
            return probed;
        }
    }
    Outcome outcome = requireModules(change, {"proxy", "proxy_fcgi", "dir"});
    outcome = outcome.ok() ? applySetting(change, {site, Setting::Php, overwrite}, askedOf(setting),
                                          directivesOf(setting))
                           : outcome;
    if (outcome.ok()) {
        showSources(change, settingName(site));
    }
    return outcome;
}

Outcome dropPhp(Transaction& change, const std::string& site, bool overwrite) {
    change.release(hostNameIn(site), PassedOn);
    std::vector<Root> roots = rootsOf(change, site);
    std::erase_if(roots, [&](const Root& root) {
        const std::string place =
            otherPhp(change.configuration(), site, root.effective,
                     [&](const Origin& candidate) { return isReadAt(change, candidate); });
        if (!place.empty()) {
            change.output().warning(place + " runs the scripts in " + root.effective +
                                    " without a setting, and goes on to do so");
        }
        return !place.empty();
    });
    if (!settingOf(change, site, Setting::Php)) {
        return done();
    }
    if (Outcome dropped = dropSetting(change, {site, Setting::Php, overwrite}); !dropped.ok()) {
        return dropped;
    }
    std::set<std::string> hidden;
    for (const Root& root : roots) {
        const auto script = someScript(root.effective);
        if (!script) {
            continue;
        }
        change.output().note(root.effective +
                             (script->empty() ? ": not all of it can be looked through"
                                              : printable(*script) + " would be shown as text now") +
                             ": scripts there are kept from visitors");
        if (!script->empty()) {
            change.prove(
                [&change, site, root, path = *script] { return staysUnread(change, site, root, path); });
        }
        hidden.insert(root.effective);
    }
    if (!hidden.empty()) {
        hideSources(change, settingName(site), hidden);
    }
    return done();
}

}  // namespace zpweb
