// What the server itself makes of a configuration: its name map and its effective directives, each with its
// file and line. Includes, macros, variables, conditions and continued lines are resolved in it.
//
// It is parsed from what "-t -D DUMP_VHOSTS -D DUMP_CONFIG -D DUMP_INCLUDES -D DUMP_RUN_CFG" prints.
// Without mod_info there are no directives: the reading is then not complete, and the name map alone tells
// of the hosts.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "server/NameMap.h"

namespace zpweb {

struct Directive {
    static constexpr uint32_t None = UINT32_MAX;

    std::string_view name;            // "DocumentRoot"; of a section "Directory"
    std::string_view arguments;       // as effective; of a section without ">"
    uint32_t parent = None, end = 0;  // its section; the number behind its last descendant
    uint32_t file = 0, line = 0;      // the file by number
    bool section = false;

    bool is(std::string_view other) const;  // in any letter case
};

// Where something stands: a path without links. What a macro has made stands where the macro is used.
struct Origin {
    std::string file;
    size_t line = 0;
    bool fromMacro = false;
    std::string text() const { return file + ":" + std::to_string(line); }
};

struct VirtualHost {
    uint32_t directive = Directive::None;  // its section; None in a reading that is not complete
    uint32_t file = 0, line = 0;
    std::vector<std::string> addresses;  // as in its opening tag
    ServedNames names;                   // the name is empty when it has no ServerName
};

// Whom the server answers requests as.
struct ServerAccount {
    std::string user, group;  // "#33" where it is named by its number
};

class Reading {
public:
    static Reading parse(std::string printed);

    const std::string& printed() const { return *text_; }
    bool complete() const { return complete_; }
    const std::vector<Directive>& directives() const { return directives_; }
    const std::vector<VirtualHost>& hosts() const { return hosts_; }
    const std::vector<std::string>& included() const { return included_; }  // files that were read
    const NameMap& names() const { return names_; }
    const ServerAccount& account() const { return account_; }  // empty where the server tells none

    // Where requests can arrive: the addresses and ports of the Listen directives. One that listens on
    // every address is there as "*" and as each address that blocks name.
    const std::vector<Endpoint>& endpoints() const { return endpoints_; }
    // The host that answers for a name there; null: the main server does.
    const VirtualHost* leadsTo(std::string_view name, const Endpoint& endpoint) const;
    // The same, but only a host that carries the name itself.
    const VirtualHost* carrierOf(std::string_view name, const Endpoint& endpoint) const;

    // The hosts that are the site's: those whose ServerName is its name.
    std::vector<const VirtualHost*> hostsOf(std::string_view site) const;
    // What stands directly in a section, by number; at the server's level, with None, all but the hosts, of
    // which there may be many.
    std::vector<uint32_t> childrenOf(uint32_t section) const;
    // The directives of this name among them.
    std::vector<const Directive*> inSection(uint32_t section, std::string_view name) const;
    // The value in effect: the last one. Empty when there is none.
    std::string valueIn(uint32_t section, std::string_view name) const;
    // A path as the server takes it: a relative one is below its ServerRoot.
    std::string absolute(const std::string& path) const;
    // The section's own DocumentRoot, absolute and without "/" at its end. Empty when there is none.
    std::string rootIn(uint32_t section) const;
    Origin originOf(const Directive& directive) const { return originOf(directive.file, directive.line); }
    Origin originOf(const VirtualHost& host) const { return originOf(host.file, host.line); }
    const std::string& fileOf(const VirtualHost& host) const { return origins_[host.file].file; }
    // "shop.example at /etc/apache2/sites-enabled/shop.conf:1"; "the main server" for null
    std::string describe(const VirtualHost* host) const;

private:
    friend class ReadingParser;
    Origin originOf(uint32_t file, uint32_t line) const;
    void index();

    std::unique_ptr<const std::string> text_;
    std::vector<Origin> origins_;  // of each file by number; its line is that of a macro's use
    std::vector<std::string> included_;
    std::vector<Directive> directives_;
    std::vector<uint32_t> atServer_;  // by number, without the hosts
    std::vector<VirtualHost> hosts_;
    std::string serverRoot_;  // which is no directive of the reading: the server has it before the others
    NameMap names_;
    ServerAccount account_;
    std::vector<Endpoint> endpoints_;
    std::unordered_map<std::string_view, std::vector<uint32_t>> byName_;
    bool complete_ = false;
};

// The words of a directive's arguments, without their quotes.
std::vector<std::string> argumentsIn(std::string_view arguments);
// Of a Listen line: "443 https", "[::1]:80", "80".
Endpoint listenedOn(std::string_view arguments);
// A host name as the server compares it: no scheme, no port, lower case.
std::string hostNameIn(std::string_view text);
std::string lowerCase(std::string_view text);

}  // namespace zpweb
