#include "server/Judge.h"

#include <algorithm>

#include "conf/Text.h"
#include "server/BareHttps.h"

namespace zpweb {

namespace {

constexpr size_t NamesTold = 5;

// The number of the host that a section is; None for another.
std::vector<uint32_t> hostBySection(const Reading& reading) {
    std::vector<uint32_t> hosts(reading.directives().size(), Pairing::None);
    for (uint32_t i = 0; i < reading.hosts().size(); ++i) {
        if (const uint32_t section = reading.hosts()[i].directive; section != Directive::None) {
            hosts[section] = i;
        }
    }
    return hosts;
}

bool isAsked(const Reading& reading, const VirtualHost& host, const Asked& asked) {
    const Origin origin = reading.originOf(host);
    return asked.sites.contains(host.names.name) || asked.blocks.contains({origin.file, origin.line});
}

// What stands outside of the blocks that may differ, by its directives' numbers.
std::vector<uint32_t> untouchables(const Reading& reading, const Asked& asked, const Reading& other,
                                   const std::vector<uint32_t>& partners) {
    const std::vector<uint32_t> hosts = hostBySection(reading);
    std::vector<uint32_t> items;
    for (uint32_t i = 0; i < reading.directives().size(); i = reading.directives()[i].end) {
        const Directive& item = reading.directives()[i];
        const uint32_t host = hosts[i];
        const bool may = host == Pairing::None ? item.is("NameVirtualHost") ||
                                                     asked.serverDirectives.contains(lowerCase(item.name))
                                               : isAsked(reading, reading.hosts()[host], asked) ||
                                                     (partners[host] != Pairing::None &&
                                                      isAsked(other, other.hosts()[partners[host]], asked));
        if (!may) {
            items.push_back(i);
        }
    }
    return items;
}

// Do two trees of directives say the same?
bool isSame(const Reading& a, uint32_t i, const Reading& b, uint32_t j) {
    const uint32_t size = a.directives()[i].end - i;
    bool same = b.directives()[j].end - j == size;
    for (uint32_t k = 0; same && k < size; ++k) {
        const Directive& one = a.directives()[i + k];
        const Directive& other = b.directives()[j + k];
        same = one.end - i == other.end - j && one.arguments == other.arguments && one.is(other.name);
    }
    return same;
}

std::string told(const Reading& reading, uint32_t directive) {
    const Directive& item = reading.directives()[directive];
    return reading.originOf(item).text() + " (" + (item.section ? "<" : "") + std::string(item.name) + " " +
           std::string(item.arguments) + (item.section ? ">" : "") + ")";
}

using HostNumber = uint32_t;
HostNumber numberOf(const Reading& reading, const VirtualHost* host) {
    return host == nullptr ? Pairing::None : static_cast<HostNumber>(host - reading.hosts().data());
}

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

std::vector<const std::string*> namesOf(const VirtualHost& host) {
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
            notes.push_back("requests for any other name on " + endpoint.text() + " led to " +
                            live.describe(before) + " and now lead to " + staged.describe(after));
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
        heard.insert(staged.names().entryFor(endpoint));
    }
    std::vector<std::string> notes;
    for (const NameMap::Entry& entry : staged.names().entries()) {
        for (const NameMap::Host host :
             heard.contains(&entry) ? std::vector<NameMap::Host>() : entry.hosts) {
            if (asked.sites.contains(staged.hosts()[host].names.name)) {
                notes.push_back(staged.describe(&staged.hosts()[host]) + " is not reached on " +
                                entry.at.text() + ": no Listen leads there");
            }
        }
    }
    return notes;
}

}  // namespace

std::string strayDifference(const Reading& live, const Reading& staged, const Pairing& pairing,
                            const Asked& asked) {
    if (asked.everything || !live.complete() || !staged.complete()) {
        return {};
    }
    const std::vector<uint32_t> before = untouchables(live, asked, staged, pairing.stagedOf);
    const std::vector<uint32_t> after = untouchables(staged, asked, live, pairing.liveOf);
    for (size_t i = 0; i < std::min(before.size(), after.size()); ++i) {
        if (!isSame(live, before[i], staged, after[i])) {
            return told(staged, after[i]);
        }
    }
    if (before.size() < after.size()) {
        return told(staged, after[before.size()]);
    }
    return before.size() > after.size() ? told(live, before[after.size()]) : "";
}

std::string lossOfRelocated(const Reading& live, const Reading& staged, const Pairing& pairing,
                            const Asked& asked) {
    for (const std::string& site : asked.relocated) {
        for (const VirtualHost* host : live.hostsOf(site)) {
            const HostNumber after = pairing.stagedOf[numberOf(live, host)];
            if (host->directive != Directive::None &&
                (after == Pairing::None ||
                 !isSame(live, host->directive, staged, staged.hosts()[after].directive))) {
                return live.describe(host);
            }
        }
    }
    return {};
}

std::vector<Moved> impactOf(const Reading& live, const Reading& staged, const Pairing& pairing,
                            const Asked& asked) {
    std::vector<Moved> impact;
    const std::vector<Endpoint>& was = live.endpoints();
    const std::vector<Endpoint>& is = staged.endpoints();
    for (const Endpoint& endpoint : allEndpoints(live, staged)) {
        const NameMap::Entry* entry = listensAt(was, endpoint) ? live.names().entryFor(endpoint) : nullptr;
        for (const NameMap::Host each : entry != nullptr ? entry->hosts : std::vector<NameMap::Host>()) {
            for (const std::string* name : namesOf(live.hosts()[each])) {
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
        judgement.notes = newDefaults(*live, staged, pairing);
        if (const std::string stray = strayDifference(*live, staged, pairing, asked); !stray.empty()) {
            judgement.outcome = failure("the change would differ at " + stray +
                                        ", which the command does not name; nothing is changed");
            return judgement;
        }
        if (const std::string lost = lossOfRelocated(*live, staged, pairing, asked); !lost.empty()) {
            judgement.outcome =
                failure(Status::Refused, lost +
                                             " would say something else in its new place (a Define, a "
                                             "Macro or a condition counts there); nothing is changed");
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
