// What a change has made different of the blocks that it names and of the others.
#include <algorithm>
#include <set>

#include "server/DirectoryPaths.h"
#include "server/Judge.h"

namespace zpweb {

namespace {

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
bool isSameHost(const Reading& a, uint32_t i, const Reading& b, uint32_t j) {
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

constexpr const char* Aliases = "serveralias";

std::set<std::string> furtherNames(const VirtualHost& host) {
    std::set<std::string> names(host.names.aliases.begin(), host.names.aliases.end());
    names.insert(host.names.wildAliases.begin(), host.names.wildAliases.end());
    return names;
}

// What stands directly in a block and may not differ; its further names are told apart, as it is all the
// same in how many lines they stand.
std::vector<uint32_t> keptIn(const Reading& reading, uint32_t block, const std::set<std::string>& may) {
    std::vector<uint32_t> kept;
    for (const uint32_t i : reading.childrenOf(block)) {
        const Directive& item = reading.directives()[i];
        const std::string name = lowerCase(item.name);
        const std::vector<std::string> words = argumentsIn(item.arguments);
        const std::string path = words.empty() ? "" : " " + withoutSlash(words.front());
        if (name != Aliases && !may.contains(name) && !(item.section && may.contains(name + path))) {
            kept.push_back(i);
        }
    }
    return kept;
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
        if (!isSameHost(live, before[i], staged, after[i])) {
            return told(staged, after[i]);
        }
    }
    if (before.size() < after.size()) {
        return told(staged, after[before.size()]);
    }
    return before.size() > after.size() ? told(live, before[after.size()]) : "";
}

std::string strayWithin(const Reading& live, const Reading& staged, const Pairing& pairing,
                        const Asked& asked) {
    for (const auto& [site, names] : asked.within) {
        for (const VirtualHost* host :
             names.contains("*") ? std::vector<const VirtualHost*>() : live.hostsOf(site)) {
            const HostNumber after = pairing.stagedOf[numberOf(live, host)];
            if (after == Pairing::None || host->directive == Directive::None) {
                continue;
            }
            const VirtualHost& now = staged.hosts()[after];
            const std::vector<uint32_t> was = keptIn(live, host->directive, names);
            const std::vector<uint32_t> is = keptIn(staged, now.directive, names);
            for (size_t i = 0; i < std::max(was.size(), is.size()); ++i) {
                if (i >= was.size() || i >= is.size() || !isSameHost(live, was[i], staged, is[i])) {
                    return i < was.size() ? told(live, was[i]) : told(staged, is[i]);
                }
            }
            if (!names.contains(Aliases) && furtherNames(*host) != furtherNames(now)) {
                return live.describe(host) + " (ServerAlias)";
            }
        }
    }
    return {};
}

std::string lossOfRelocated(const Reading& live, const Reading& staged, const Pairing& pairing,
                            const Asked& asked) {
    for (const std::string& site : asked.relocated) {
        for (const VirtualHost* host : live.hostsOf(site)) {
            const HostNumber after = pairing.stagedOf[numberOf(live, host)];
            if (host->directive != Directive::None &&
                (after == Pairing::None ||
                 !isSameHost(live, host->directive, staged, staged.hosts()[after].directive))) {
                return live.describe(host);
            }
        }
    }
    return {};
}

std::string beyondText(const Reading& live, const Reading& staged, const Pairing& pairing,
                       const Asked& asked) {
    for (const std::string& site : asked.whole) {
        bool changes = false;
        const VirtualHost* made = nullptr;
        for (const VirtualHost* host : live.hostsOf(site)) {
            const HostNumber after = pairing.stagedOf[numberOf(live, host)];
            const bool told = host->directive != Directive::None;
            made = live.originOf(*host).fromMacro ? host : made;
            changes = changes ||
                      (told && (after == Pairing::None || !isSameHost(live, host->directive, staged,
                                                                      staged.hosts()[after].directive)));
        }
        if (changes && made != nullptr) {
            return "a macro makes " + live.describe(made) +
                   ", too: change it there, or name the other block by its place (FILE:LINE) or port; "
                   "nothing is changed";
        }
    }
    return {};
}

}  // namespace zpweb
