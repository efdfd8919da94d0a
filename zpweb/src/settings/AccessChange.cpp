#include "settings/AccessChange.h"

#include <algorithm>
#include <set>

#include "input/Network.h"
#include "input/Quoted.h"
#include "server/PassedOn.h"
#include "server/SatisfyAny.h"
#include "settings/Modules.h"
#include "settings/Proof.h"
#include "settings/SiteFacts.h"
#include "settings/SiteSettings.h"
#include "sys/File.h"
#include "sys/OwnersFile.h"
#include "sys/Process.h"
#include "text/Lines.h"

namespace zpweb {

namespace {

AccessSetting accessOf(const Transaction& change, const std::string& site) {
    const auto now = settingOf(change, site, Setting::Access);
    const auto known = now ? accessFrom(now->asked) : std::nullopt;
    return known.value_or(AccessSetting{});
}

// Addresses of this host from which it can be tried: some of its own, and those of 127.0.0.0/8 that the
// networks name.
std::vector<std::string> visitors(const AccessPath& path, const Peer& peer) {
    if (peer.address.find(':') != std::string::npos) {
        return {peer.address};
    }
    std::set<std::string> addresses = {"127.0.0.1", "127.0.0.2", "127.45.6.7"};
    for (const auto* list : {&path.allow, &path.deny}) {
        for (const std::string& network : *list) {
            const std::string address = network.substr(0, network.find('/'));
            if (holdsAddress("127.0.0.0/8", address) && !address.ends_with(".0")) {
                addresses.insert(address);
            }
        }
    }
    return {addresses.begin(), addresses.end()};
}

std::string belowPath(const std::string& path) { return path == "/" ? "/" : path + "/"; }
std::string aboutPath(const std::string& path) { return "access " + path + " "; }

Outcome isAsAsked(const AccessPath& path, const Request& request) {
    const auto reply = ask(request);
    const std::string from = "from " + request.server.from + ", " + described(request);
    if (!reply.ok()) {
        return failure(from + ": " + reply.outcome().message);
    }
    const bool admitted = path.admits(request.server.from);
    const int status = reply->status;
    const bool asAsked = !admitted            ? status == 403 || (!path.users.empty() && status == 401)
                         : path.users.empty() ? status != 403 && status != 401
                                              : status == 401;
    return asAsked ? done()
                   : failure(from + " answers " + std::to_string(status) + ", though the address is " +
                             (admitted ? "admitted" : "not admitted"));
}

Outcome proveOn(const Peer& peer, const AccessPath& path, const std::string& name, bool tls) {
    for (const std::string& address : visitors(path, peer)) {
        Peer visitor = peer;
        visitor.from = address;
        if (!Connection::to(visitor).ok()) {
            continue;  // this host has no way from there to the server's address
        }
        const Request request{visitor, name, belowPath(path.path), tls};
        if (Outcome shown = shownInTime([&] { return isAsAsked(path, request); }); !shown.ok()) {
            return shown;
        }
    }
    return done();
}

// What leads elsewhere before anybody is asked who he is shows nothing. (A directory leads to itself with a
// slash.)
bool isRedirected(const Request& request) {
    const auto reply = ask(request);
    return reply.ok() && reply->status >= 300 && reply->status < 400;
}

Outcome proveAccess(Transaction& change, const std::string& site, const AccessPath& path) {
    for (const Place& place : answeringBlocks(change.configuration(), site)) {
        const std::string name = settingName(place.block->name);
        for (const Peer& peer : peersToAsk(change, place, path.path)) {
            const bool tls = speaksTls(place, peer, change.reading());
            if (isRedirected({peer, name, belowPath(path.path), tls})) {
                continue;
            }
            if (Outcome shown = proveOn(peer, path, name, tls); !shown.ok()) {
                return shown;
            }
        }
    }
    return done();
}

struct HashMethod {
    std::string_view begin;
    size_t length = 0;  // of what stands behind the last "$"
};
constexpr HashMethod HashMethods[] = {{"$apr1$", 22}, {"$1$", 22}, {"$2a$", 53}, {"$2b$", 53}, {"$2y$", 53},
                                      {"$5$", 43},    {"$6$", 86}, {"$y$", 43},  {"$gy$", 43}, {"$7$", 43}};

// The server lets nobody in by a password in clear text, or in a form that it does not know. It is told by
// its form, as the owner of the file chooses how many hours it takes to make one like it.
bool isHash(std::string_view word) {
    if (!word.starts_with('$')) {
        return word.size() == (word.starts_with("{SHA}") ? 33 : 13);
    }
    const size_t length = word.size() - word.rfind('$') - 1;
    return std::any_of(std::begin(HashMethods), std::end(HashMethods), [&](const HashMethod& each) {
        return word.starts_with(each.begin) && length == each.length;
    });
}

// "valid-user" is any of the file.
Outcome canLogIn(const Lines& file, const std::string& user, const std::string& path) {
    bool there = false;
    for (const std::string_view line : file.all) {
        const size_t colon = line.find(':');
        if (colon == std::string_view::npos || (user != "valid-user" && line.substr(0, colon) != user)) {
            continue;
        }
        there = true;
        const std::string_view word = withoutReturn(line.substr(colon + 1));
        if (isHash(word.substr(0, word.find(':')))) {
            return done();
        }
    }
    return there ? failure(path + ": the server takes no password of " +
                           (user == "valid-user" ? "anybody" : user) +
                           " from there, as it is no hash (zpweb user passwd, or htpasswd -B)")
                 : failure(Status::NotFound, "user " + inQuotes(user) + ": not in " + path);
}

Outcome writeAccess(Transaction& change, const std::string& site, const AccessSetting& setting,
                    bool overwrite) {
    std::vector<std::string> modules = {"authz_core", "authz_host"};
    if (std::any_of(setting.paths.begin(), setting.paths.end(),
                    [](const AccessPath& each) { return !each.users.empty(); })) {
        modules.insert(modules.end(), {"authn_core", "auth_basic", "authn_file", "authz_user"});
    }
    Outcome outcome = requireModules(change, modules);
    return outcome.ok() ? applySetting(change, {site, Setting::Access, overwrite}, askedOf(setting),
                                       directivesOf(setting))
                        : outcome;
}

}  // namespace

Outcome usersAreThere(const AccessPath& path, const std::string& serverUser) {
    const auto text = readNamedFile(path.userFile);
    if (!text.ok()) {
        return failure(Status::NotFound, "users: " + text.outcome().message);
    }
    if (!isReadableBy(serverUser, path.userFile)) {
        return failure(path.userFile + ": the server's user " + serverUser + " cannot read it");
    }
    for (const std::string& user : path.users) {
        if (Outcome can = canLogIn(Lines(*text), user, path.userFile); !can.ok()) {
            return can;
        }
    }
    return done();
}

Outcome setAccess(Transaction& change, const std::string& site, const AccessPath& path, bool overwrite) {
    AccessSetting setting = accessOf(change, site);
    setting.set(path);
    expectOwnVisitors(change, site);
    change.expect(hostNameIn(site), aboutPath(path.path),
                  asksVisitors({hostNameIn(site)}, belowPath(path.path)));
    if (!path.admitsAll()) {
        change.expect(hostNameIn(site), aboutPath(path.path) + "any",
                      asksBesideHosts({hostNameIn(site)}, path.path));
    } else {
        change.release(hostNameIn(site), aboutPath(path.path) + "any");
    }
    // A later command of the same change may ask for something else.
    change.prove([&change, site, path = path.path] {
        const AccessSetting last = accessOf(change, site);
        const AccessPath* asked = last.at(path);
        return asked == nullptr ? done() : proveAccess(change, site, *asked);
    });
    return writeAccess(change, site, setting, overwrite);
}

Outcome removeAccess(Transaction& change, const std::string& site, const std::string& path,
                     bool overwrite) {
    AccessSetting setting = accessOf(change, site);
    change.release(hostNameIn(site), aboutPath(path));
    if (!setting.remove(path)) {
        return isNotThere("path " + inQuotes(path) + ": its access is not set");
    }
    return setting.paths.empty() ? dropSetting(change, {site, Setting::Access, overwrite})
                                 : writeAccess(change, site, setting, overwrite);
}

}  // namespace zpweb
