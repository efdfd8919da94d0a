#include "settings/PhpChange.h"

#include <algorithm>
#include <map>

#include "settings/Modules.h"
#include "settings/PhpProbe.h"
#include "settings/PhpSources.h"
#include "settings/Proof.h"
#include "settings/SiteFacts.h"
#include "settings/SiteSettings.h"

namespace zpweb {

namespace {

std::vector<std::string> rootsOf(const Configuration& configuration, const std::string& site) {
    std::vector<std::string> roots;
    for (const Place& place : configuration.find(site)) {
        const std::string root(place.block->root);
        if (!place.block->stopped && root.starts_with('/') &&
            std::find(roots.begin(), roots.end(), root) == roots.end()) {
            roots.push_back(root);
        }
    }
    return roots;
}

// Where the site's blocks with this document root can be asked.
std::vector<Request> placesWith(const Configuration& configuration, const std::string& site,
                                const std::string& root) {
    std::vector<Request> requests;
    for (const Place& place : answeringBlocks(configuration, site)) {
        if (place.block->root != root) {
            continue;
        }
        for (const Peer& peer : peersOf(configuration, *place.block)) {
            requests.push_back({peer, settingName(place.block->name), "/", speaksTls(*place.block)});
        }
    }
    return requests;
}

// The script is in the journal before it is made.
Outcome probeIn(Transaction& change, const std::string& site, const std::string& root) {
    const PhpProbe probe(root);
    for (const std::string& path : {probe.path(), probe.plainPath()}) {
        if (Outcome noted = change.temporary(path); !noted.ok()) {
            return noted;
        }
    }
    change.prove([&change, site, probe] {
        std::string version;
        Outcome run = probe.run(placesWith(change.configuration(), site, probe.root()), version);
        change.output().set("version", known(version));
        return run;
    });
    return done();
}

Outcome staysUnread(const Transaction& change, const std::string& site, const std::string& root,
                    const std::string& script) {
    for (Request& request : placesWith(change.configuration(), site, root)) {
        request.path = script;
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

}  // namespace

Outcome setPhp(Transaction& change, const std::string& site, PhpSetting setting, bool overwrite) {
    if (Outcome reached = accepts(setting.fpm); !reached.ok()) {
        return failure("no FPM pool answers: " + reached.message + " (zpweb php list shows the pools)");
    }
    setting.version = versionOf(setting.fpm);
    for (const std::string& root : rootsOf(change.configuration(), site)) {
        if (Outcome probed = probeIn(change, site, root); !probed.ok()) {
            return probed;
        }
    }
    Outcome outcome = requireModules(change, {"proxy", "proxy_fcgi", "dir"});
    outcome = outcome.ok() ? applySetting(change, {site, Setting::Php, overwrite}, askedOf(setting),
                                          directivesOf(setting))
                           : outcome;
    return outcome.ok() ? showSources(change, settingName(site)) : outcome;
}

Outcome dropPhp(Transaction& change, const std::string& site, bool overwrite) {
    if (!settingOf(change, site, Setting::Php)) {
        return done();
    }
    if (Outcome dropped = dropSetting(change, {site, Setting::Php, overwrite}); !dropped.ok()) {
        return dropped;
    }
    for (const std::string& root : rootsOf(change.configuration(), site)) {
        const std::string script = someScript(root);
        if (script.empty() || runsPhpOtherwise(change.configuration())) {
            continue;
        }
        change.output().note(root + script +
                             " would be shown as text now: scripts there are kept from visitors");
        change.prove([&change, site, root, script] { return staysUnread(change, site, root, script); });
        if (Outcome hidden = hideSources(change, settingName(site), root); !hidden.ok()) {
            return hidden;
        }
    }
    return done();
}

}  // namespace zpweb
