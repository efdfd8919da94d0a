#include "server/Reading.h"

#include <algorithm>
#include <set>

#include "conf/Text.h"
#include "server/DirectoryPaths.h"
#include "sys/Number.h"

namespace zpweb {

namespace {

bool is4(const std::string& address) { return address.find(':') == std::string::npos; }

}  // namespace

bool Directive::is(std::string_view other) const { return zp::conf::equalIgnoringCase(name, other); }

std::vector<std::string> argumentsIn(std::string_view arguments) {
    std::vector<std::string> words;
    for (size_t i = 0; i < arguments.size();) {
        if (zp::conf::isSpace(arguments[i])) {
            ++i;
            continue;
        }
        const char quote = arguments[i] == '"' || arguments[i] == '\'' ? arguments[i++] : '\0';
        std::string& word = words.emplace_back();
        for (; i < arguments.size() &&
               (quote != '\0' ? arguments[i] != quote : !zp::conf::isSpace(arguments[i]));
             ++i) {
            const bool escapes = arguments[i] == '\\' && i + 1 < arguments.size() &&
                                 (arguments[i + 1] == '\\' || (quote != '\0' && arguments[i + 1] == quote));
            word += arguments[escapes ? ++i : i];
        }
        i += quote != '\0' ? 1 : 0;
    }
    return words;
}

std::string hostNameIn(std::string_view text) {
    const std::vector<std::string> words = argumentsIn(text);
    std::string_view name = words.empty() ? std::string_view() : std::string_view(words.front());
    if (const size_t scheme = name.find("://"); scheme != std::string_view::npos) {
        name = name.substr(scheme + 3);
    }
    if (!name.starts_with('[')) {
        name = name.substr(0, name.find(':'));
    }
    return lowerCase(name);
}

Endpoint listenedOn(std::string_view arguments) {
    const std::vector<std::string> words = argumentsIn(arguments);
    const std::string first = words.empty() ? "" : words.front();
    const bool portOnly = first.find_first_not_of("0123456789") == std::string::npos;
    return portOnly ? Endpoint{"*", leadingNumber(first)} : endpointOf(first);
}

std::string lowerCase(std::string_view text) {
    std::string lower(text);
    std::transform(lower.begin(), lower.end(), lower.begin(), zp::conf::lower);
    return lower;
}

// What is asked for often.
void Reading::index() {
    for (uint32_t i = 0; i < directives_.size(); i = directives_[i].end) {
        if (!directives_[i].section || !directives_[i].is("VirtualHost")) {
            atServer_.push_back(i);
        }
    }
    for (uint32_t i = 0; i < hosts_.size(); ++i) {
        byName_[hosts_[i].names.name].push_back(i);
    }
    std::set<Endpoint> found;
    for (const Directive* listen : inSection(Directive::None, "Listen")) {
        const Endpoint at = listenedOn(listen->arguments);
        found.insert(at);
        const bool only4 = zp::conf::contains(listen->arguments, "0.0.0.0");
        for (const NameMap::Entry& entry : names_.entries()) {
            const bool reaches = at.address == "*" && (!only4 || is4(entry.at.address));
            if (reaches && (entry.at.port == 0 || entry.at.port == at.port)) {
                found.insert({entry.at.address, at.port});
            }
        }
    }
    for (const NameMap::Entry& entry : names_.entries()) {
        if (!complete_) {
            found.insert(entry.at);
        }
    }
    endpoints_.assign(found.begin(), found.end());
}

// The server takes a dot at the end off the name that is asked for, and off none that a block has.
const VirtualHost* Reading::carrierOf(std::string_view name, const Endpoint& endpoint) const {
    const NameMap::Entry* entry = names_.entryFor(endpoint);
    std::string asked = hostNameIn(name);
    if (asked.ends_with('.')) {
        asked.pop_back();
    }
    const auto carrier = entry != nullptr ? names_.carrierOf(*entry, asked) : std::nullopt;
    return carrier ? &hosts_[*carrier] : nullptr;
}

const VirtualHost* Reading::leadsTo(std::string_view name, const Endpoint& endpoint) const {
    if (const VirtualHost* carrier = carrierOf(name, endpoint); carrier != nullptr) {
        return carrier;
    }
    const NameMap::Entry* entry = names_.entryFor(endpoint);
    return entry != nullptr && !entry->hosts.empty() ? &hosts_[entry->hosts.front()] : nullptr;
}

std::vector<const VirtualHost*> Reading::hostsOf(std::string_view site) const {
    std::vector<const VirtualHost*> found;
    if (const auto named = byName_.find(hostNameIn(site)); named != byName_.end()) {
        for (const uint32_t host : named->second) {
            found.push_back(&hosts_[host]);
        }
    }
    return found;
}

std::vector<uint32_t> Reading::childrenOf(uint32_t section) const {
    if (section == Directive::None) {
        return atServer_;
    }
    std::vector<uint32_t> children;
    for (uint32_t i = section + 1; i < directives_[section].end; i = directives_[i].end) {
        children.push_back(i);
    }
    return children;
}

std::vector<const Directive*> Reading::inSection(uint32_t section, std::string_view name) const {
    std::vector<const Directive*> found;
    for (const uint32_t child : childrenOf(section)) {
        if (directives_[child].is(name)) {
            found.push_back(&directives_[child]);
        }
    }
    return found;
}

std::string Reading::valueIn(uint32_t section, std::string_view name) const {
    const std::vector<const Directive*> all = inSection(section, name);
    const std::vector<std::string> words =
        all.empty() ? std::vector<std::string>() : argumentsIn(all.back()->arguments);
    return words.empty() ? "" : words.front();
}

std::string Reading::absolute(const std::string& path) const {
    return path.empty() || path.starts_with('/') ? path : serverRoot_ + "/" + path;
}

std::string Reading::rootIn(uint32_t section) const {
    return withoutSlash(absolute(valueIn(section, "DocumentRoot")));
}

Origin Reading::originOf(uint32_t file, uint32_t line) const {
    Origin origin = origins_[file];
    origin.line = origin.fromMacro ? origin.line : line;
    return origin;
}

std::string Reading::describe(const VirtualHost* host) const {
    if (host == nullptr) {
        return "the main server";
    }
    return (host->names.name.empty() ? "the block" : host->names.name) + " at " + originOf(*host).text();
}

}  // namespace zpweb
