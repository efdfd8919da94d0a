#include "server/Judge.h"

#include <algorithm>

#include "conf/Text.h"
#include "server/BareHttps.h"
#include "server/Postconditions.h"
#include "server/Protocol.h"

namespace zpweb {

namespace {

constexpr size_t NamesTold = 5;

std::set<Endpoint> allEndpoints(const Reading& live, const Reading& staged) {
    std::set<Endpoint> all;
    for (const Reading* reading : {&live, &staged}) {
        const std::vector<Endpoint>& some = reading->endpoints();
        all.insert(some.begin(), some.end());
    }
    return all;
}

// Does the server take requests there? The endpoints are in order.
bool listensAt(const std::vector<Endpoint>& listened, const Endpoint& endpoint) {
    return std::binary_search(listened.begin(), listened.end(), endpoint) ||
           std::binary_search(listened.begin(), listened.end(), Endpoint{"*", endpoint.port});
}

std::vector<const std::string*> namesAndAliases(const VirtualHost& host) {
    std::vector<const std::string*> names;
    if (!host.names.name.empty()) {
        names.push_back(&host.names.name);
    }
    for (const auto* list : {&host.names.aliases, &host.names.wildAliases}) {
        for (const std::string& alias : *list) {
            names.push_back(&alias);
        }
    }
    return names;
}

std::string refusal(const std::vector<Moved>& impact) {
    size_t count = 0;
    std::string text;
    for (const Moved& moved : impact) {
        if (moved.asked) {
            continue;
        }
        if (++count <= NamesTold) {
            text +=
                "\n  " + moved.name + " on " + moved.listener + ": from " + moved.from + " to " + moved.to;
        }
    }
    if (count > NamesTold) {
        text += "\n  and " + std::to_string(count - NamesTold) + " more (--json lists them all)";
    }
    return count == 0 ? ""
                      : "names would lead elsewhere that nobody asked for; nothing is changed "
                        "(--allow-impact lets it happen):" +
                            text;
}

std::vector<std::string> newDefaults(const Reading& live, const Reading& staged, const Pairing& pairing) {
    std::vector<std::string> notes;
    const std::vector<Endpoint>& listened = live.endpoints();
    for (const Endpoint& endpoint : staged.endpoints()) {
        const VirtualHost* before = live.leadsTo("", endpoint);
        const VirtualHost* after = staged.leadsTo("", endpoint);
        const HostNumber was = numberOf(live, before);
        const HostNumber is = after == nullptr ? Pairing::None : pairing.liveOf[numberOf(staged, after)];
        const bool same = (before == nullptr) == (after == nullptr) && was == is;
        if (!same && listensAt(listened, endpoint)) {
            const bool tls = (before != nullptr && speaksTls(live, *before)) ||
                             (after != nullptr && speaksTls(staged, *after));
            notes.push_back("requests for any other name on " + endpoint.text() +
                            (tls ? ", and those without a name in the TLS handshake (SNI)," : "") +
                            " led to " + live.describe(before) + " and now lead to " +
                            staged.describe(after));
        }
    }
    return notes;
}

// Those that are asked for, and the aliases of sites that move.
std::set<std::string> namesTakenAway(const Reading* live, const Asked& asked) {
    std::set<std::string> names = asked.names;
    if (live == nullptr) {
        return names;
    }
    for (const std::string& site : asked.moving) {
        for (const VirtualHost* host : live->hostsOf(site)) {
            names.insert(host->names.aliases.begin(), host->names.aliases.end());
        }
    }
    return names;
}

// Names that were taken away and reach the site all the same, as the first one of a listener.
std::vector<std::string> reachedByDefault(const Reading* live, const Reading& staged, const Asked& asked) {
    std::vector<std::string> notes;
    for (const std::string& name : namesTakenAway(live, asked)) {
        for (const Endpoint& endpoint : staged.endpoints()) {
            const VirtualHost* host = staged.leadsTo(name, endpoint);
            if (host != nullptr && staged.carrierOf(name, endpoint) == nullptr &&
                asked.sites.contains(host->names.name)) {
                notes.push_back(name + " on " + endpoint.text() + " still reaches " +
                                staged.describe(host) +
                                ", which answers for every name that no other block there has");
            }
        }
    }
    return notes;
}

// Blocks of the sites that the server takes no requests for.
std::vector<std::string> unheard(const Reading& staged, const Asked& asked) {
    std::set<const NameMap::Entry*> heard;
    for (const Endpoint& endpoint : staged.endpoints()) {
        heard.insert(isReached(staged, endpoint) ? staged.names().entryFor(endpoint) : nullptr);
    }
    std::vector<std::string> notes;
    for (const NameMap::Entry& entry : staged.names().entries()) {
        for (const NameMap::Host host :
             heard.contains(&entry) ? std::vector<NameMap::Host>() : entry.hosts) {
            if (asked.sites.contains(staged.hosts()[host].names.name)) {
                notes.push_back(staged.describe(&staged.hosts()[host]) + " is not reached on " +
                                entry.at.text() + ": " + silenceOf(staged, entry));
            }
        }
    }
    return notes;
}

// What the sites of the change had given away before is theirs.
void allowReturn(std::vector<Moved>& impact, const Asked& asked) {
    const bool some =
        std::any_of(impact.begin(), impact.end(), [](const Moved& moved) { return !moved.asked; });
    const std::set<Led> released = some && asked.released ? asked.released() : std::set<Led>();
    for (Moved& moved : impact) {
        moved.asked = moved.asked || (asked.sites.contains(moved.site) &&
                                      released.contains({moved.site, moved.name, moved.listener}));
    }
}

std::set<Led> releasedBy(const Reading& live, const Reading& staged, const Pairing& pairing,
                         const Asked& asked) {
    std::set<Led> released;
    if (asked.moving.empty() && asked.names.empty()) {
        return released;
    }
    for (const Endpoint& endpoint : allEndpoints(live, staged)) {
        const bool listens =
            listensAt(live.endpoints(), endpoint) && listensAt(staged.endpoints(), endpoint);
        const NameMap::Entry* entry = listens ? staged.names().entryFor(endpoint) : nullptr;
        for (const NameMap::Host each : entry != nullptr ? entry->hosts : std::vector<NameMap::Host>()) {
            for (const std::string* name : namesAndAliases(staged.hosts()[each])) {
                const VirtualHost* from = live.leadsTo(*name, endpoint);
                if (from != nullptr && asked.sites.contains(from->names.name) &&
                    pairing.liveOf[each] != numberOf(live, from) &&
                    staged.carrierOf(*name, endpoint) == &staged.hosts()[each]) {
                    released.insert({from->names.name, *name, endpoint.text()});
                }
            }
        }
    }
    return released;
}

bool isAmong(const std::vector<NameMap::Host>& hosts, HostNumber host) {
    return std::find(hosts.begin(), hosts.end(), host) != hosts.end();
}

// Sites whose visitors are no longer understood: whether TLS is spoken is decided by the first block of an
// address, before a name is known.
std::vector<Moved> silencedBy(const Reading& live, const Reading& staged, const Pairing& pairing,
                              const Asked& asked) {
    const Protocols before(live);
    const Protocols after(staged);
    std::vector<Moved> silenced;
    for (const Endpoint& endpoint : staged.endpoints()) {
        const bool listened = listensAt(live.endpoints(), endpoint);
        const NameMap::Entry* was = listened ? live.names().entryFor(endpoint) : nullptr;
        const NameMap::Entry* is = staged.names().entryFor(endpoint);
        const bool tls = before.isTls(endpoint);
        if (was == nullptr || is == nullptr || is->hosts.empty() || after.isTls(endpoint) == tls) {
            continue;
        }
        const std::string first = staged.describe(&staged.hosts()[is->hosts.front()]);
        for (const NameMap::Host each : is->hosts) {
            const VirtualHost& host = staged.hosts()[each];
            const std::string& name = host.names.name;
            const HostNumber known = pairing.liveOf[each];
            if (isAmong(was->hosts, known) && !asked.moving.contains(name) &&
                before.isTls(live.hosts()[known]) == tls && after.isTls(host) == tls) {
                silenced.push_back(
                    {name.empty() ? staged.originOf(host).text() : name, endpoint.text(),
                     live.describe(&live.hosts()[known]),
                     "nobody, as " + first + ", the first block there, speaks " + (tls ? "no TLS" : "TLS"),
                     "", asked.anyName});
            }
        }
    }
    return silenced;
}

}  // namespace

std::vector<Moved> impactOf(const Reading& live, const Reading& staged, const Pairing& pairing,
                            const Asked& asked) {
    std::vector<Moved> impact;
    const std::vector<Endpoint>& was = live.endpoints();
    const std::vector<Endpoint>& is = staged.endpoints();
    for (const Endpoint& endpoint : allEndpoints(live, staged)) {
        const NameMap::Entry* entry = listensAt(was, endpoint) ? live.names().entryFor(endpoint) : nullptr;
        for (const NameMap::Host each : entry != nullptr ? entry->hosts : std::vector<NameMap::Host>()) {
            for (const std::string* name : namesAndAliases(live.hosts()[each])) {
                const VirtualHost* from = live.carrierOf(*name, endpoint);
                if (from != &live.hosts()[each]) {
                    continue;  // an earlier host has the name
                }
                const bool listens = listensAt(is, endpoint);
                const VirtualHost* to = listens ? staged.leadsTo(*name, endpoint) : nullptr;
                if (to != nullptr && pairing.liveOf[numberOf(staged, to)] == each) {
                    continue;
                }
                impact.push_back({*name, endpoint.text(), live.describe(from),
                                  listens ? staged.describe(to) : "nothing (no Listen)",
                                  to != nullptr ? to->names.name : "",
                                  asked.anyName || asked.names.contains(*name) ||
                                      asked.moving.contains(from->names.name)});
            }
        }
    }
    return impact;
}

Judgement judge(const Reading* live, const Reading& staged, const Asked& asked,
                const std::vector<Postcondition>& postconditions, bool allowImpact) {
    Judgement judgement;
    const Pairing pairing = live != nullptr ? pairingOf(*live, staged, asked) : Pairing{};
    if (live != nullptr) {
        judgement.impact = impactOf(*live, staged, pairing, asked);
        const std::vector<Moved> silenced = silencedBy(*live, staged, pairing, asked);
        judgement.impact.insert(judgement.impact.end(), silenced.begin(), silenced.end());
        allowReturn(judgement.impact, asked);
        judgement.released = releasedBy(*live, staged, pairing, asked);
        judgement.notes = newDefaults(*live, staged, pairing);
        for (const Moved& each : asked.anyName ? silenced : std::vector<Moved>()) {
            judgement.notes.push_back(each.name + " on " + each.listener + " leads to " + each.to);
        }
        if (const std::string stray = strayDifference(*live, staged, pairing, asked); !stray.empty()) {
            judgement.outcome = failure("the change would differ at " + stray +
                                        ", which the command does not name; nothing is changed");
            return judgement;
        }
        if (const std::string stray = strayWithin(*live, staged, pairing, asked); !stray.empty()) {
            judgement.outcome =
                failure(Status::Refused, "with --exact the library would also change " + stray +
                                             "; leave --exact away; nothing is changed");
            return judgement;
        }
        if (const std::string lost = lossOfRelocated(*live, staged, pairing, asked); !lost.empty()) {
            judgement.outcome =
                failure(Status::Refused, lost +
                                             " would say something else in its new place (a Define, a "
                                             "Macro or a condition counts there); nothing is changed");
            return judgement;
        }
        if (const std::string beyond = beyondText(*live, staged, pairing, asked); !beyond.empty()) {
            judgement.outcome = failure(Status::Refused, beyond);
            return judgement;
        }
        if (const std::string bare = bareHttps(*live, staged, asked.sites); !bare.empty()) {
            judgement.outcome = failure(Status::Refused, bare);
            return judgement;
        }
    }
    for (auto& notes : {unheard(staged, asked), reachedByDefault(live, staged, asked)}) {
        judgement.notes.insert(judgement.notes.end(), notes.begin(), notes.end());
    }
    for (const Postcondition& holds : postconditions) {
        if (Outcome outcome = holds(staged); !outcome.ok()) {
            judgement.outcome = std::move(outcome);
            return judgement;
        }
    }
    if (const std::string refused = refusal(judgement.impact); !refused.empty() && !allowImpact) {
        judgement.outcome = failure(Status::Refused, refused);
    }
    return judgement;
}

}  // namespace zpweb
