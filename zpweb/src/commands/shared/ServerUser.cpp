#include "commands/shared/ServerUser.h"

#include <grp.h>

#include <algorithm>
#include <map>

#include "CZPWebsite.h"
#include "host/Accounts.h"
#include "sys/Process.h"

namespace zpweb {

namespace {

std::optional<ServerUser> userNamed(const std::string& name) {
    const auto account = zp::host::findAccount(name);
    if (!account) {
        return std::nullopt;
    }
    ServerUser user{name, account->user, std::vector<gid_t>(64)};
    int count = static_cast<int>(user.groups.size());
    ::getgrouplist(name.c_str(), account->group, user.groups.data(), &count);
    user.groups.resize(static_cast<size_t>(std::min(count, static_cast<int>(user.groups.size()))));
    return user;
}

}  // namespace

const ServerAccount& serverAccount(const Configuration& configuration) {
    static std::map<std::string, ServerAccount> known;
    const std::string& main = configuration.main().path();
    const auto [entry, fresh] = known.try_emplace(main);
    if (fresh) {
        const Capture quiet;
        static_cast<void>(CZPWebsite(nullptr, main.c_str())
                              .getApacheUserGroup(main, entry->second.user, entry->second.group));
    }
    return entry->second;
}

std::optional<ServerUser> answeringUser(const Configuration& configuration) {
    static std::map<std::string, std::optional<ServerUser>> known;  // the same of the host's accounts
    const std::string& name = serverAccount(configuration).user;
    const auto [entry, fresh] = known.try_emplace(name);
    if (fresh) {
        entry->second = userNamed(name);
    }
    return entry->second;
}

bool canPass(const ServerUser& user, const struct stat& directory) {
    if (user.user == 0) {
        return true;
    }
    if (directory.st_uid == user.user) {
        return (directory.st_mode & S_IXUSR) != 0;
    }
    const bool inGroup =
        std::find(user.groups.begin(), user.groups.end(), directory.st_gid) != user.groups.end();
    return (directory.st_mode & (inGroup ? S_IXGRP : S_IXOTH)) != 0;
}

}  // namespace zpweb
