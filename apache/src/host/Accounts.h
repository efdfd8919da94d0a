// Accounts of the host.
#pragma once

#include <sys/types.h>

#include <optional>
#include <string>

namespace zp::host {

struct Account {
    uid_t user;
    gid_t group;
};

std::optional<Account> findAccount(const std::string& name);

// The name of the account that owns the path, from the host's own password database; empty when the path or
// the account cannot be found.
std::string ownerOf(const std::string& path);

}  // namespace zp::host
