#include "server/Postconditions.h"

#include <fnmatch.h>

#include <algorithm>

#include "sys/Connection.h"
#include "text/Sites.h"

namespace zpweb {

Outcome notShown(const std::string& what) {
    return failure("the server's reading does not show the change as done: " + what +
                   "; nothing is changed");
}

namespace {

bool isAtPort(const VirtualHost& host, const std::string& port) {
    return port.empty() || std::any_of(host.addresses.begin(), host.addresses.end(),
                                       [&](const std::string& each) { return each.ends_with(":" + port); });
}

bool entryListsHost(const NameMap::Entry* entry, const Reading& reading, const VirtualHost* host) {
    const auto number = static_cast<NameMap::Host>(host - reading.hosts().data());
    return entry != nullptr &&
           std::find(entry->hosts.begin(), entry->hosts.end(), number) != entry->hosts.end();
}

bool isOf(const std::vector<const VirtualHost*>& hosts, const VirtualHost* host) {
    return std::find(hosts.begin(), hosts.end(), host) != hosts.end();
}

Outcome canBeAskedFor(const std::string& name) {
    const std::string why(unaskable(name));
    return why.empty() ? done()
                       : failure(Status::Refused, name + ": " + why +
                                                      ", so that nobody can ask for it; see zpweb site "
                                                      "rename");
}

// Where a block of the site is among those that share an address, the name must lead to the site.
Outcome leadsTo(const Reading& staged, const std::string& name,
                const std::vector<const VirtualHost*>& hosts) {
    if (Outcome can = canBeAskedFor(name); !can.ok()) {
        return can;
    }
    for (const Endpoint& endpoint : staged.endpoints()) {
        const NameMap::Entry* entry = staged.names().entryFor(endpoint);
        const bool listens = std::any_of(hosts.begin(), hosts.end(), [&](const VirtualHost* host) {
            return entryListsHost(entry, staged, host);
        });
        const VirtualHost* reached = listens ? staged.carrierOf(name, endpoint) : nullptr;
        if (listens && !isOf(hosts, reached)) {
            return notShown(name + " on " + endpoint.text() + " leads to " +
                            staged.describe(reached != nullptr ? reached : staged.leadsTo(name, endpoint)) +
                            (reached != nullptr ? ", which has the name too and stands first" : ""));
        }
    }
    return done();
}

bool isLoopback(const std::string& address) { return address.starts_with("127.") || address == "::1"; }

constexpr const char* NoListen = "no Listen leads there";

std::string listenFor(Endpoint at) {
    at.port = at.port == 0 ? 80 : at.port;
    return "zpweb directive insert Listen " + (at.address == "*" ? std::to_string(at.port) : at.text()) +
           " --after Listen";
}

// Where a block gets the name from, which may be an included file.
std::string aliasPlace(const Reading& reading, const VirtualHost& host, const std::string& name) {
    for (const Directive* alias : host.directive == Directive::None
                                      ? std::vector<const Directive*>()
                                      : reading.inSection(host.directive, "ServerAlias")) {
        for (const std::string& word : argumentsIn(alias->arguments)) {
            if (::fnmatch(word.c_str(), name.c_str(), FNM_CASEFOLD) == 0) {
                return ", which has " + word + " from " + reading.originOf(*alias).text();
            }
        }
    }
    return {};
}

}  // namespace

std::vector<const VirtualHost*> hostsOf(const Reading& reading, const BlocksOf& blocks) {
    std::vector<const VirtualHost*> hosts = reading.hostsOf(blocks.site);
    std::erase_if(hosts, [&](const VirtualHost* host) { return !isAtPort(*host, blocks.port); });
    hosts.resize(blocks.first ? std::min<size_t>(hosts.size(), 1) : hosts.size());
    return hosts;
}

Postcondition isServed(const BlocksOf& blocks) {
    return [=](const Reading& staged) {
        return hostsOf(staged, blocks).empty()
                   ? notShown("the server has no block of " + blocks.site +
                              " (a condition around it is not met, or its file is not included)")
                   : done();
    };
}

Postcondition leadsToSite(const std::string& name, const BlocksOf& blocks) {
    return [=](const Reading& staged) {
        const Outcome served = isServed(blocks)(staged);
        return served.ok() ? leadsTo(staged, name, hostsOf(staged, blocks)) : served;
    };
}

Postcondition leadsToSiteIfServed(const BlocksOf& blocks) {
    return [=](const Reading& staged) { return leadsTo(staged, blocks.site, hostsOf(staged, blocks)); };
}

Postcondition leadsThereNoMore(const std::string& name, const BlocksOf& blocks) {
    return [=](const Reading& staged) {
        const auto hosts = hostsOf(staged, blocks);
        for (const Endpoint& endpoint : staged.endpoints()) {
            const VirtualHost* carrier = staged.carrierOf(name, endpoint);
            if (carrier != nullptr && isOf(hosts, carrier)) {
                return notShown(name + " on " + endpoint.text() + " still leads to " +
                                staged.describe(carrier) + aliasPlace(staged, *carrier, name));
            }
        }
        return done();
    };
}

Postcondition servesNothing(const BlocksOf& blocks) {
    return [=](const Reading& staged) {
        const auto hosts = hostsOf(staged, blocks);
        return hosts.empty() ? done() : notShown("the server still has " + staged.describe(hosts.front()));
    };
}

std::string silenceOf(const Reading& staged, const NameMap::Entry& entry) {
    for (const Endpoint& endpoint : staged.endpoints()) {
        const NameMap::Entry* other = staged.names().entryFor(endpoint);
        const bool isFor = (entry.at.port == 0 || entry.at.port == endpoint.port) &&
                           (entry.at.address == endpoint.address ||
                            (entry.at.address == "*" && !isLoopback(endpoint.address)));
        if (other != nullptr && other != &entry && isFor) {
            return "a block for " + other->at.text() + " goes before one for " + entry.at.text() + ": " +
                   staged.describe(&staged.hosts()[other->hosts.front()]);
        }
    }
    return NoListen;
}

// "*" stands for the addresses of this host that no block names: these may be those of its own visitors.
bool isReached(const Reading& staged, const Endpoint& endpoint) {
    const std::vector<std::string>& own = addressesOfHost();
    return endpoint.address != "*" || own.empty() ||
           std::any_of(own.begin(), own.end(), [&](const std::string& address) {
               return staged.names().entryFor({address, endpoint.port}) ==
                      staged.names().entryFor(endpoint);
           });
}

Postcondition takesRequests(const BlocksOf& blocks, const std::string& wayOut) {
    return [=](const Reading& staged) {
        if (Outcome can = canBeAskedFor(blocks.site); !can.ok()) {
            return can;
        }
        const auto hosts = hostsOf(staged, blocks);
        const auto isTheirs = [&](const NameMap::Entry* entry) {
            return std::any_of(hosts.begin(), hosts.end(), [&](const VirtualHost* host) {
                return entryListsHost(entry, staged, host);
            });
        };
        const auto& endpoints = staged.endpoints();
        if (hosts.empty() || std::any_of(endpoints.begin(), endpoints.end(), [&](const Endpoint& endpoint) {
                return isTheirs(staged.names().entryFor(endpoint)) && isReached(staged, endpoint);
            })) {
            return done();
        }
        const auto& entries = staged.names().entries();
        const auto entry = std::find_if(entries.begin(), entries.end(),
                                        [&](const NameMap::Entry& each) { return isTheirs(&each); });
        const bool isKnown = entry != entries.end();
        const std::string why = isKnown ? silenceOf(staged, *entry)
                                        : "it cannot resolve " + (hosts.front()->addresses.empty()
                                                                      ? "its address"
                                                                      : hosts.front()->addresses.front());
        const bool canListen = isKnown && why == NoListen;
        const std::string way = !canListen ? "" : wayOut.empty() ? listenFor(entry->at) : wayOut;
        return failure(Status::Refused, staged.describe(hosts.front()) +
                                            ": the server takes no requests for it (" + why + ")" +
                                            (canListen ? "; " + way + " lets it" : ""));
    };
}

// Redirections are tried in their order; without mod_alias a rule rewrites.
bool answers503(const Reading& reading, uint32_t section) {
    constexpr std::string_view PanelsMessage = "message.htm";
    if (reading.valueIn(section, "DocumentRoot").ends_with(PanelsMessage)) {
        return true;
    }
    for (const uint32_t i : reading.childrenOf(section)) {
        const Directive& directive = reading.directives()[i];
        if (directive.is("RewriteRule") && directive.arguments.find("R=503") != std::string_view::npos) {
            return true;
        }
        if (lowerCase(directive.name).starts_with("redirect")) {
            return argumentsIn(directive.arguments) == std::vector<std::string>{"503", "/"};
        }
    }
    return false;
}

Postcondition isSuspended(const BlocksOf& blocks) {
    return [=](const Reading& staged) {
        for (const VirtualHost* host : hostsOf(staged, blocks)) {
            if (host->directive != Directive::None && !answers503(staged, host->directive)) {
                return notShown(staged.describe(host) + " is not suspended");
            }
        }
        return done();
    };
}

}  // namespace zpweb
