// The account that the server answers requests as.
#pragma once

#include <sys/stat.h>

#include <optional>
#include <string>
#include <vector>

#include "server/Configuration.h"

namespace zpweb {

struct ServerUser {
    std::string name;
    uid_t user = 0;
    std::vector<gid_t> groups;
};

struct ServerAccount {
    std::string user, group;
};

// As the configuration's main file on the disk says; of many sites, the first one asks.
const ServerAccount& serverAccount(const Configuration& configuration);
// Absent when the configuration names none that the host has.
std::optional<ServerUser> answeringUser(const Configuration& configuration);

// By the mode bits: may it step through the directory, or read the file? ACLs are not looked at.
bool canPass(const ServerUser& user, const struct stat& directory);

}  // namespace zpweb
