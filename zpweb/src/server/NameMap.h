// Which virtual host answers for a name: the server's own rules of matching over its printed name map.
#pragma once

#include <compare>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace zpweb {

// Where a request arrives: an address of the host and a port. "*" stands for every address that no block
// names itself.
struct Endpoint {
    std::string address;
    int port = 0;

    auto operator<=>(const Endpoint&) const = default;  // NOLINT(modernize-use-nullptr)
    std::string text() const;                           // 10.0.0.5:80, [2001:db8::1]:443, *:80
};

// "10.0.0.5:80", "[::1]:*" or "*:80" as the server prints it; port 0 is every port. An address that means
// every address of the host ("0.0.0.0", "[::]") is "*".
Endpoint endpointOf(std::string_view printed);

// A host's names as the server compares them: in lower case.
struct ServedNames {
    std::string name;
    std::string inherited{};  // what a host without a ServerName answers to
    std::vector<std::string> aliases{}, wildAliases{};
};

class NameMap {
public:
    using Host = uint32_t;  // by number, in the order of the reading

    // The hosts that share one address and port, in the order in which the server tries them.
    struct Entry {
        Endpoint at;  // port 0: every port
        std::vector<Host> hosts;
    };

    void add(Entry entry) { entries_.push_back(std::move(entry)); }
    const std::vector<Entry>& entries() const { return entries_; }
    // Once all entries are there.
    void index(const std::vector<const ServedNames*>& names);

    // The entry that connections to the endpoint are looked up in; null: the main server answers them.
    const Entry* entryFor(const Endpoint& endpoint) const;
    // The host of the entry that carries the name itself; absent: the entry's first host answers.
    std::optional<Host> carrierOf(const Entry& entry, std::string_view lowerName) const;

private:
    using Positions = std::unordered_map<std::string_view, uint32_t>;
    struct Index {
        Positions exact, suffixes;                                 // "*.example.com" by ".example.com"
        std::vector<std::pair<uint32_t, std::string_view>> other;  // other patterns
    };
    static void take(Index& index, const ServedNames& names, uint32_t position);

    std::vector<Entry> entries_;
    std::vector<Index> indexes_;
    std::unordered_map<std::string, size_t> byEndpoint_;
};

}  // namespace zpweb
