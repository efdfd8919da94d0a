// The proxy setting of a site: paths that an application answers.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace zpweb {

struct ProxyPath {
    std::string path, url;  // neither ends with a slash, unless the path is "/"
    bool websocket = false;
    int timeout = 0;  // seconds; 0: the server's own
};

// Which way the server speaks websockets: by an option of ProxyPass (2.4.47 and later), or by a rewrite
// rule.
enum class Upgrade { ByOption, ByRule };

struct ProxySetting {
    std::vector<ProxyPath> paths{};
    Upgrade upgrade = Upgrade::ByOption;

    // Adds it, in the place of one with the same path.
    void set(ProxyPath path);
    bool remove(const std::string& path);
};

std::string askedOf(const ProxySetting& setting);
std::optional<ProxySetting> proxiesFrom(const std::string& asked);
// The application learns the name, the scheme and the visitor's address. What certificate authorities ask
// for is answered by the site itself.
std::string directivesOf(const ProxySetting& setting);

}  // namespace zpweb
