#include "host/Accounts.h"

#include <grp.h>
#include <pwd.h>
#include <sys/stat.h>

#include <cstdio>

#include "host/Paths.h"

namespace zp::host {

std::optional<Account> findAccount(const std::string& name) {
    const passwd* entry = ::getpwnam(name.c_str());
    if (entry == nullptr) {
        return std::nullopt;
    }
    return Account{entry->pw_uid, entry->pw_gid};
}

Ownership inPanelGroup(const std::string& account) {
    const group* panel = ::getgrnam(PanelGroup);
    const auto user = findAccount(account);
    if (panel == nullptr || (!user && !account.empty())) {
        return {};
    }
    return {user ? std::optional(user->user) : std::nullopt, panel->gr_gid};
}

std::string ownerOf(const std::string& path) {
    struct stat status {};
    if (::stat(path.c_str(), &status) != 0) {
        return {};
    }
    FILE* database = std::fopen(path::PasswordDatabase, "re");
    if (database == nullptr) {
        return {};
    }
    std::string owner;
    for (const passwd* entry = ::fgetpwent(database); entry != nullptr; entry = ::fgetpwent(database)) {
        if (entry->pw_uid == status.st_uid) {
            owner = entry->pw_name;
            break;
        }
    }
    std::fclose(database);
    return owner;
}

}  // namespace zp::host
