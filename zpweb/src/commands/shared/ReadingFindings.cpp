#include "commands/shared/ReadingFindings.h"

#include <algorithm>
#include <ctime>
#include <map>
#include <set>

#include "server/BareHttps.h"
#include "settings/Certificate.h"
#include "sys/File.h"
#include "sys/Ground.h"
#include "sys/Process.h"
#include "sys/Trap.h"

namespace zpweb {

namespace {

std::vector<std::string> plainNames(const VirtualHost& host) {
    std::vector<std::string> names;
    if (!host.names.name.empty()) {
        names.push_back(host.names.name);
    }
    names.insert(names.end(), host.names.aliases.begin(), host.names.aliases.end());
    return names;
}

// The endpoints whose requests are looked up among hosts, by the entry that they are looked up in.
std::map<const NameMap::Entry*, std::vector<Endpoint>> listenersOf(const Reading& reading) {
    std::map<const NameMap::Entry*, std::vector<Endpoint>> listeners;
    for (const Endpoint& endpoint : reading.endpoints()) {
        listeners[reading.names().entryFor(endpoint)].push_back(endpoint);
    }
    return listeners;
}

// The last of a block's own directives, else the server's.
std::string effective(const Reading& reading, const VirtualHost& host, const char* directive) {
    const std::string own =
        host.directive == Directive::None ? "" : reading.valueIn(host.directive, directive);
    return own.empty() ? reading.valueIn(Directive::None, directive) : own;
}

void findShadowing(const Reading& reading, const NameMap::Entry& narrow, const Endpoint& at,
                   Findings& findings) {
    const NameMap::Entry* wide = reading.names().entryFor({"*", at.port});
    if (at.address == "*" || wide == nullptr || narrow.at.address == "*") {
        return;
    }
    size_t count = 0;
    std::string first;
    for (const NameMap::Host host : wide->hosts) {
        const VirtualHost& each = reading.hosts()[host];
        if (!each.names.name.empty() && reading.carrierOf(each.names.name, at) == nullptr) {
            first = first.empty() ? each.names.name : first;
            ++count;
        }
    }
    if (count > 0) {
        const VirtualHost* winner = reading.leadsTo("", at);
        findings.push_back({"names shadowed by a better address match", reading.originOf(*winner).text(),
                            first + (count > 1 ? " and " + std::to_string(count - 1) + " more" : "") +
                                " of " + wide->at.text() + " lead on " + at.text() + " to " +
                                reading.describe(winner)});
    }
}

using Listeners = std::map<const NameMap::Entry*, std::vector<Endpoint>>;

// Where each host is reached, if at all.
std::vector<std::vector<const NameMap::Entry*>> entriesOfHosts(const Reading& reading,
                                                               const Listeners& listeners) {
    std::vector<std::vector<const NameMap::Entry*>> entries(reading.hosts().size());
    for (const auto& [entry, endpoints] : listeners) {
        for (const NameMap::Host host : entry == nullptr ? std::vector<NameMap::Host>() : entry->hosts) {
            entries[host].push_back(entry);
        }
    }
    return entries;
}

}  // namespace

void findUnreachable(const Reading& reading, Findings& findings) {
    const Listeners listeners = listenersOf(reading);
    for (const auto& [entry, endpoints] : listeners) {
        if (entry != nullptr) {
            findShadowing(reading, *entry, endpoints.front(), findings);
        }
    }
    const auto entries = entriesOfHosts(reading, listeners);
    for (NameMap::Host number = 0; number < reading.hosts().size(); ++number) {
        const VirtualHost& host = reading.hosts()[number];
        const std::string place = reading.originOf(host).text();
        if (entries[number].empty()) {
            std::string addresses;
            for (const std::string& address : host.addresses) {
                addresses += (addresses.empty() ? "" : " ") + address;
            }
            findings.push_back(
                {"Listen missing", place,
                 host.names.name + " on " + addresses + ": the server takes no requests there"});
            continue;
        }
        for (const std::string& name : plainNames(host)) {
            const VirtualHost* other = nullptr;
            const bool reached = std::any_of(
                entries[number].begin(), entries[number].end(), [&](const NameMap::Entry* entry) {
                    const auto carrier = reading.names().carrierOf(*entry, name);
                    other = carrier ? &reading.hosts()[*carrier] : other;
                    return carrier == number;
                });
            if (const std::string why(unaskable(name)); !why.empty()) {
                findings.push_back({"name that nobody can ask for", place, name + ": " + why});
            } else if (!reached && other != nullptr) {
                findings.push_back(
                    {"name claimed twice", place, name + ", first at " + reading.originOf(*other).text()});
            }
        }
    }
}

void findCertificates(const Reading& reading, Findings& findings) {
    const Certified certified(reading);
    for (const VirtualHost& host : reading.hosts()) {
        if (lowerCase(effective(reading, host, "SSLEngine")) != "on") {
            continue;
        }
        const std::string certificate = reading.absolute(effective(reading, host, "SSLCertificateFile"));
        if (certificate.empty() && certified.has(host)) {
            continue;  // in a place that mod_md knows
        }
        const std::string key = reading.absolute(effective(reading, host, "SSLCertificateKeyFile"));
        const std::vector<std::string> faults =
            certificate.empty() ? std::vector<std::string>{"no SSLCertificateFile"}
                                : faultsOf({certificate, key.empty() ? certificate : key}, plainNames(host),
                                           std::time(nullptr));
        for (const std::string& fault : faults) {
            findings.push_back({"certificate", reading.originOf(host).text(), fault});
        }
        if (const std::string spoilable = spoilablePart({certificate, key}); !spoilable.empty()) {
            findings.push_back({"certificate", reading.originOf(host).text(), spoilable});
        }
    }
}

void findRedirectableLogs(const std::vector<OpenedLog>& logs, Findings& findings) {
    for (const OpenedLog& log : logs) {
        const auto trap = trapOn(log.path);
        const std::string ground = trap ? trap->path : othersGround(log.path);
        if (!ground.empty()) {
            findings.push_back(
                {"log that its owner can redirect", log.place,
                 (log.site.empty() ? "" : log.site + ": ") + log.path + ": " + ground +
                     (!trap                            ? " is not root's alone"
                      : trap->kind == Trap::Kind::Pipe ? " is a pipe of others than root's"
                      : trap->kind == Trap::Kind::NoLog
                          ? " is nothing that can be written to: the server ends at its next reload"
                          : " is a link of others than root's") +
                     ", and root writes the log"});
        }
    }
}

void findClosedRoots(const Reading& reading, const std::string& user, Findings& findings) {
    std::vector<std::string> roots;
    std::vector<std::string> places;
    for (const VirtualHost& host : reading.hosts()) {
        const std::string root = host.directive == Directive::None ? "" : reading.rootIn(host.directive);
        if (!root.empty() && isDirectory(root)) {
            roots.push_back(root);
            places.push_back(reading.originOf(host).text());
        }
    }
    const std::vector<bool> enters = canEnter(user, roots);
    for (size_t i = 0; i < roots.size(); ++i) {
        if (!enters[i]) {
            findings.push_back({"document root that the server cannot enter", places[i],
                                roots[i] + " (user " + user + ")"});
        }
    }
}

void noteMacros(const Reading& reading, Findings& notes) {
    for (const VirtualHost& host : reading.hosts()) {
        if (reading.originOf(host).fromMacro) {
            notes.push_back({"from a macro", reading.originOf(host).text(), host.names.name});
        }
    }
}

}  // namespace zpweb
