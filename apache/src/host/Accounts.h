// Accounts of the host.
#pragma once

#include <sys/types.h>

#include <optional>
#include <string>

namespace zp::host {

struct Account {
    uid_t user;
    gid_t group;
    std::string home;
};

// Whom something is given to. Neither is set where the account or the group is not known.
struct Ownership {
    std::optional<uid_t> user;
    std::optional<gid_t> group;

    bool isKnown() const { return group.has_value(); }
};

// The account of that name and the panel's group; without a name, the group alone.
Ownership inPanelGroup(const std::string& account);

std::optional<Account> findAccount(const std::string& name);
std::optional<gid_t> findGroup(const std::string& name);

// The name of the account that owns the path, from the host's own password database; empty when the path or
// the account cannot be found.
std::string ownerOf(const std::string& path);

}  // namespace zp::host
