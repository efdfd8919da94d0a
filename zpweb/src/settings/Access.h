// The access setting of a site: who may ask for which of its paths.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace zpweb {

// Admitted is who comes from an allowed address (any, when none is named), from none that is denied, and,
// where users are named, is one of them.
struct AccessPath {
    std::string path;
    std::vector<std::string> allow, deny;  // addresses, networks, or "all"
    std::vector<std::string> users;        // of the password file; "valid-user": each of them
    std::string userFile;

    // May a visitor from this address pass, users apart?
    bool admits(const std::string& address) const;
    bool admitsAll() const;  // every visitor, without a password
};

struct AccessSetting {
    std::vector<AccessPath> paths{};

    void set(AccessPath path);  // in the place of one with the same path
    bool remove(const std::string& path);
    const AccessPath* at(const std::string& path) const;  // null when there is none
};

std::string askedOf(const AccessSetting& setting);
std::optional<AccessSetting> accessFrom(const std::string& asked);
std::string directivesOf(const AccessSetting& setting);

}  // namespace zpweb
