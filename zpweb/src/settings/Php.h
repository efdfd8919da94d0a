// The PHP setting of a site: which FPM pool runs its scripts.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "sys/Outcome.h"

namespace zpweb {

struct PhpSetting {
    std::string fpm;        // the path of a socket, or HOST:PORT
    std::string root{};     // with root-only: scripts run below this directory only
    std::string version{};  // as the pool told it
};

std::string askedOf(const PhpSetting& setting);
std::optional<PhpSetting> phpFrom(const std::string& asked);
std::string directivesOf(const PhpSetting& setting);

// Does somebody accept connections there? A failure tells why not.
Outcome accepts(const std::string& fpm);

// A pool of this host's FPM, as its configuration declares it.
struct Pool {
    std::string name, listen, user, file;
    std::string version;  // of the tree that it stands in; empty where there is but one
};
std::vector<Pool> poolsOfHost();

}  // namespace zpweb
