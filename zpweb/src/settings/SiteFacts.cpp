#include "settings/SiteFacts.h"

#include <fnmatch.h>

#include <algorithm>

#include "conf/Text.h"
#include "server/DirectoryPaths.h"
#include "server/Protocol.h"
#include "server/Sockets.h"
#include "sys/Number.h"
#include "text/Lines.h"

namespace zpweb {

namespace {

namespace conf = zp::conf;

std::vector<std::string> wordsIn(std::string_view text) {
    std::vector<std::string> words;
    for (text = conf::skipSpace(text); !text.empty(); text = conf::skipSpace(text)) {
        const bool quoted = text.front() == '"';
        const std::string_view word =
            quoted ? conf::upTo(text.substr(1), "\"") : conf::upTo(text, " \t\r\n");
        words.emplace_back(word);
        text = conf::stepOver(text, word.size() + (quoted ? 2 : 0));
    }
    return words;
}

void addOnce(std::vector<std::string>& names, std::string name) {
    std::transform(name.begin(), name.end(), name.begin(), conf::lower);
    if (std::find(names.begin(), names.end(), name) == names.end()) {
        names.push_back(std::move(name));
    }
}

// A line that ends with a backslash goes on in the next one.
std::string withoutContinuations(std::string_view text) {
    std::string joined(text);
    for (size_t at = 0; (at = joined.find("\\\n", at)) != std::string::npos;) {
        joined.replace(at, 2, " ");
    }
    return joined;
}

// A ServerName may be written with a scheme and a port.
std::string bareName(const std::string& name) {
    const size_t scheme = name.find("://");
    const std::string rest = scheme == std::string::npos ? name : name.substr(scheme + 3);
    return rest.substr(0, rest.find(':'));
}

// Null when the reading does not show the block. One without a name of its own may be any of the hosts.
const VirtualHost* hostAt(const Place& place, const Reading& reading) {
    const size_t line = place.file->firstLine() + place.block->lines.first + 1;
    const auto isThis = [&](const VirtualHost& host) {
        const Origin origin = reading.originOf(host);
        return origin.line == line && origin.file == place.file->path();
    };
    const std::string name(place.block->name);
    const auto named = name.empty() ? std::vector<const VirtualHost*>() : reading.hostsOf(name);
    for (const VirtualHost* host : named) {
        if (isThis(*host)) {
            return host;
        }
    }
    const auto& hosts = reading.hosts();
    const auto found = named.empty() ? std::find_if(hosts.begin(), hosts.end(), isThis) : hosts.end();
    return found == hosts.end() ? nullptr : &*found;
}

bool lists(const NameMap::Entry& entry, const Reading& reading, const VirtualHost& host) {
    const auto number = static_cast<NameMap::Host>(&host - reading.hosts().data());
    return std::find(entry.hosts.begin(), entry.hosts.end(), number) != entry.hosts.end();
}

// By the server's name map, or else as the block writes them.
std::vector<Endpoint> endpointsOf(const Place& place, const Reading* reading) {
    std::vector<Endpoint> found;
    if (const VirtualHost* host = reading == nullptr ? nullptr : hostAt(place, *reading)) {
        for (const NameMap::Entry& entry : reading->names().entries()) {
            if (lists(entry, *reading, *host)) {
                found.push_back(entry.at);
            }
        }
    }
    for (const std::string& written :
         found.empty() ? addressesOf(*place.block) : std::vector<std::string>()) {
        const Endpoint at = endpointOf(written);
        for (const std::string& address :
             at.address == "*" ? std::vector{at.address} : addressesFor(at.address)) {
            found.push_back({address, at.port});
        }
    }
    return found;
}

// Where a visitor of this host can ask a socket that is for any block: at one address at least no other
// block may be named by its address.
std::vector<std::string> askedAt(const Socket& listen) {
    return listen.host.empty() || listen.host == "0.0.0.0"
               ? std::vector<std::string>{"127.0.0.1", "127.0.0.2", "127.1.2.3"}
               : std::vector<std::string>{listen.host == "::" ? "::1" : listen.host};
}

// An address at which the socket's requests come to the block, and to none whose address or port goes
// before. Empty where it takes none of them.
std::string wayTo(const Place& place, const Endpoint& endpoint, const Socket& listen,
                  const Reading* reading) {
    const bool any = endpoint.address == "*";
    if ((endpoint.port != 0 && endpoint.port != listen.port) || !(any || takes(listen, endpoint.address))) {
        return {};
    }
    const VirtualHost* host = reading == nullptr ? nullptr : hostAt(place, *reading);
    for (const std::string& way : any ? askedAt(listen) : std::vector{endpoint.address}) {
        const auto* entry = host == nullptr ? nullptr : reading->names().entryFor({way, listen.port});
        if (entry == nullptr || lists(*entry, *reading, *host)) {
            return way;
        }
    }
    return {};
}

// Null where the reading does not know the block.
const VirtualHost* knownHostAt(const Place& place, const Reading* reading) {
    const bool isKnown = reading != nullptr && reading->complete();
    const VirtualHost* host = isKnown ? hostAt(place, *reading) : nullptr;
    return host != nullptr && host->directive != Directive::None ? host : nullptr;
}

// Of the block's own line, else the server's.
std::optional<std::string> inEffectFor(const Place& place, const Reading* reading, const char* directive) {
    const VirtualHost* host = knownHostAt(place, reading);
    if (host == nullptr) {
        return std::nullopt;
    }
    const std::string own = reading->valueIn(host->directive, directive);
    return own.empty() ? reading->valueIn(Directive::None, directive) : own;
}

}  // namespace

std::vector<std::string> addressesOf(const Block& block) { return wordsIn(block.addresses); }

HostPort hostPortOf(const std::string& address) {
    const size_t bracket = address.rfind(']');
    const size_t colon = address.rfind(':');
    const bool hasPort = colon != std::string::npos && (bracket == std::string::npos || colon > bracket);
    HostPort result{hasPort ? address.substr(0, colon) : address,
                    hasPort ? leadingNumber(address.substr(colon + 1)) : 0};
    if (result.host.starts_with('[') && result.host.ends_with(']')) {
        result.host = result.host.substr(1, result.host.size() - 2);
    }
    if (result.host == "_default_") {
        result.host = "*";
    }
    return result;
}

std::string addressText(const HostPort& address) {
    const bool v6 = address.host.find(':') != std::string::npos;
    return (v6 ? "[" + address.host + "]" : address.host) + ":" + std::to_string(address.port);
}

std::vector<std::string> argumentsIn(const Block& block, std::string_view directive) {
    std::vector<std::string> found;
    const std::string whole = withoutContinuations(block.text);
    const Lines lines(whole);
    for (const std::string_view line : lines.all) {
        const std::string_view text = conf::skipSpace(withoutReturn(line));
        if (conf::beginsIgnoringCase(text, directive) && text.size() > directive.size() &&
            conf::isSpace(text[directive.size()])) {
            found.emplace_back(conf::skipSpace(text.substr(directive.size())));
        }
    }
    return found;
}

std::vector<std::string> namesOf(const std::vector<Place>& places) {
    std::vector<std::string> names;
    for (const Place& place : places) {
        if (place.block->stopped) {
            continue;
        }
        addOnce(names, bareName(std::string(place.block->name)));
        for (std::string& alias : aliasesOf(*place.block)) {
            addOnce(names, std::move(alias));
        }
    }
    return names;
}

bool carry(const std::vector<std::string>& names, const std::string& name) {
    return std::any_of(names.begin(), names.end(), [&name](const std::string& known) {
        return ::fnmatch(known.c_str(), name.c_str(), FNM_CASEFOLD) == 0;
    });
}

bool hasPort(const Block& block, int port) {
    const auto addresses = addressesOf(block);
    return std::any_of(addresses.begin(), addresses.end(),
                       [port](const std::string& each) { return hostPortOf(each).port == port; });
}

bool speaksTls(const Block& block, int port) { return block.tls || hasPort(block, port); }

bool speaksTls(const Place& place, const Peer& peer, const Reading* reading, int port) {
    const Endpoint at{peer.address, peer.port};
    const bool isKnown =
        reading != nullptr && reading->complete() && reading->names().entryFor(at) != nullptr;
    return isKnown ? Protocols(*reading).isTls(at) : speaksTls(*place.block, port);
}

namespace {

bool isNeeded(std::string_view certificate) {
    return conf::equalIgnoringCase(certificate, "require") || conf::equalIgnoringCase(certificate, "on");
}

// A <Location> holds for what is below it; which paths another section holds for is not looked at.
bool asksInSection(const Reading& reading, const VirtualHost& host, const std::string& path) {
    const std::vector<Directive>& all = reading.directives();
    return std::any_of(
        all.begin() + host.directive, all.begin() + all[host.directive].end, [&](const Directive& each) {
            if (!each.is("SSLVerifyClient") || !isNeeded(each.arguments)) {
                return false;
            }
            const Directive& section = all[each.parent];
            const auto words = argumentsIn(section.arguments);
            return !section.is("Location") || words.size() != 1 || isBelow(path, words.front());
        });
}

}  // namespace

bool namesNoCertificate(const Place& place, const Reading* reading) {
    return inEffectFor(place, reading, "SSLCertificateFile") == "";
}

bool asksForCertificates(const Place& place, const Reading* reading, const std::string& path) {
    const VirtualHost* host = knownHostAt(place, reading);
    return isNeeded(inEffectFor(place, reading, "SSLVerifyClient").value_or("")) ||
           (host != nullptr && !path.empty() && asksInSection(*reading, *host, path));
}

std::vector<Place> answeringBlocks(const Configuration& configuration, const std::string& site) {
    std::vector<Place> places = configuration.find(site);
    std::erase_if(places, [](const Place& place) {
        return place.block->stopped || place.block->suspended ||
               conf::equalIgnoringCase(place.block->root, "message.htm");
    });
    return places;
}

std::string rootInEffect(const Place& place, const Reading* reading) {
    std::string root(place.block->root);
    if (root.starts_with('/') && !conf::contains(root, "${")) {
        return root;
    }
    if (reading == nullptr) {
        return {};
    }
    const VirtualHost* host = hostAt(place, *reading);
    if (host == nullptr) {
        return {};
    }
    root = reading->rootIn(host->directive);
    return root.empty() ? reading->rootIn(Directive::None) : root;
}

std::vector<Peer> peersOf(const Configuration& configuration, const Place& place, const Reading* reading) {
    std::vector<Peer> peers;
    const bool perhapsBalanced = configuration.loads("remoteip_module");
    for (const Endpoint& address : endpointsOf(place, reading)) {
        for (const Socket& listen : askable(configuration)) {
            const std::string host = wayTo(place, address, listen, reading);
            const bool known = std::any_of(peers.begin(), peers.end(), [&](const Peer& peer) {
                return peer.address == host && peer.port == listen.port;
            });
            if (!host.empty() && !known) {
                peers.push_back({.address = host, .port = listen.port, .perhapsBalanced = perhapsBalanced});
            }
        }
    }
    return peers;
}

}  // namespace zpweb
