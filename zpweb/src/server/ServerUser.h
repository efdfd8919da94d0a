// The account that the server answers requests as.
#pragma once

#include <sys/stat.h>

#include <optional>
#include <string>
#include <vector>

#include "server/Configuration.h"
#include "server/Reading.h"

namespace zpweb {

struct ServerUser {
    std::string name;
    uid_t user = 0;
    std::vector<gid_t> groups;
};

// As the server itself tells; without a reading, as the lines of its configuration say. Empty where neither
// does.
ServerAccount serverAccount(const Configuration& configuration, const Reading* reading);
// Absent when that is none that the host has.
std::optional<ServerUser> answeringUser(const Configuration& configuration, const Reading* reading);

// By the mode bits: may it step through the directory, or read the file? ACLs are not looked at.
bool canPass(const ServerUser& user, const struct stat& directory);

}  // namespace zpweb
