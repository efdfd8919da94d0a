// The redirect setting of a site: to https, to its canonical name, and of paths.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace zpweb {

// Requests for a path and what is below it; "/" stands for the whole site.
struct PathRedirect {
    std::string path, to;
    bool keepPath = false;  // what follows the path is appended to the target
    int status = 302;
};

struct RedirectSetting {
    int httpsPort = 0;        // http leads to https on this port; 0: it does not
    std::string canonical{};  // the name to which its twin (with or without "www.") leads
    std::vector<PathRedirect> paths{};

    bool isEmpty() const { return httpsPort == 0 && canonical.empty() && paths.empty(); }
    PathRedirect* at(const std::string& path);
};

std::string askedOf(const RedirectSetting& setting);
std::optional<RedirectSetting> redirectsFrom(const std::string& asked);
// One hop whatever is asked for. What certificate authorities ask for over http is not redirected.
std::string directivesOf(const RedirectSetting& setting);

// With "www." or without, the other of the two.
std::string twinOf(const std::string& name);

}  // namespace zpweb
