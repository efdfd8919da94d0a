#include "server/NameMap.h"

#include <arpa/inet.h>
#include <fnmatch.h>

#include <algorithm>
#include <array>

#include "sys/Number.h"

namespace zpweb {

namespace {

constexpr const char* Any = "*";

std::string plainAddress(std::string_view host) {
    const std::string text(host);
    std::array<unsigned char, sizeof(in6_addr)> bytes{};
    std::array<char, INET6_ADDRSTRLEN> printed{};
    for (const int family : {AF_INET, AF_INET6}) {
        if (::inet_pton(family, text.c_str(), bytes.data()) == 1) {
            const bool every =
                std::all_of(bytes.begin(), bytes.end(), [](unsigned char b) { return b == 0; });
            return every ? Any : ::inet_ntop(family, bytes.data(), printed.data(), printed.size());
        }
    }
    return text.empty() || text == "_default_" ? Any : text;
}

bool isPattern(std::string_view text) { return text.find_first_of("*?") != std::string_view::npos; }

// The server's patterns know "*" and "?" only; any other character stands for itself.
bool matchesPattern(std::string_view pattern, std::string_view name) {
    std::string plain;
    for (const char c : pattern) {
        plain += c == '[' || c == ']' || c == '\\' ? std::string{'\\', c} : std::string(1, c);
    }
    return ::fnmatch(plain.c_str(), std::string(name).c_str(), 0) == 0;
}

}  // namespace

std::string Endpoint::text() const {
    const bool v6 = address.find(':') != std::string::npos;
    return (v6 ? "[" + address + "]" : address) + ":" + (port == 0 ? Any : std::to_string(port));
}

Endpoint endpointOf(std::string_view printed) {
    const size_t bracket = printed.rfind(']');
    const size_t colon = printed.find(':', bracket == std::string_view::npos ? 0 : bracket);
    std::string_view host = printed.substr(0, std::min(colon, printed.size()));
    if (host.starts_with('[') && host.ends_with(']')) {
        host = host.substr(1, host.size() - 2);
    }
    const int port = colon == std::string_view::npos ? 0 : leadingNumber(printed.substr(colon + 1));
    return {plainAddress(host), std::max(0, port)};
}

void NameMap::take(Index& index, const ServedNames& names, uint32_t position) {
    if (const std::string& name = names.name.empty() ? names.inherited : names.name; !name.empty()) {
        index.exact.try_emplace(name, position);
    }
    for (const std::string& alias : names.aliases) {
        index.exact.try_emplace(alias, position);
    }
    for (const std::string& alias : names.wildAliases) {
        const std::string_view rest = std::string_view(alias).substr(1);
        if (alias.starts_with("*.") && !isPattern(rest)) {
            index.suffixes.try_emplace(rest, position);
        } else {
            index.other.emplace_back(position, alias);
        }
    }
}

void NameMap::index(const std::vector<const ServedNames*>& names) {
    indexes_.assign(entries_.size(), {});
    for (size_t i = 0; i < entries_.size(); ++i) {
        byEndpoint_.try_emplace(entries_[i].at.text(), i);
        for (uint32_t position = 0; position < entries_[i].hosts.size(); ++position) {
            take(indexes_[i], *names[entries_[i].hosts[position]], position);
        }
    }
}

// An address goes before "*", and with either a port before every port.
const NameMap::Entry* NameMap::entryFor(const Endpoint& endpoint) const {
    for (const Endpoint& wanted :
         {endpoint, Endpoint{endpoint.address, 0}, Endpoint{Any, endpoint.port}, Endpoint{Any, 0}}) {
        if (const auto found = byEndpoint_.find(wanted.text()); found != byEndpoint_.end()) {
            return &entries_[found->second];
        }
    }
    return nullptr;
}

// The first host in the server's order that has the name in any way.
std::optional<NameMap::Host> NameMap::carrierOf(const Entry& entry, std::string_view lowerName) const {
    const Index& index = indexes_[static_cast<size_t>(&entry - entries_.data())];
    size_t first = entry.hosts.size();
    if (const auto exact = index.exact.find(lowerName); exact != index.exact.end()) {
        first = exact->second;
    }
    for (size_t dot = lowerName.find('.'); !index.suffixes.empty() && dot != std::string_view::npos;
         dot = lowerName.find('.', dot + 1)) {
        if (const auto wild = index.suffixes.find(lowerName.substr(dot)); wild != index.suffixes.end()) {
            first = std::min<size_t>(first, wild->second);
        }
    }
    for (const auto& [position, pattern] : index.other) {
        if (position < first && matchesPattern(pattern, lowerName)) {
            first = position;
        }
    }
    return first < entry.hosts.size() ? std::optional(entry.hosts[first]) : std::nullopt;
}

}  // namespace zpweb
