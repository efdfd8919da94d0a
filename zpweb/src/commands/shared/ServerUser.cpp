#include "commands/shared/ServerUser.h"

#include <grp.h>

#include <algorithm>
#include <map>

#include "CZPWebsite.h"
#include "host/Accounts.h"
#include "sys/Process.h"

namespace zpweb {

namespace {

std::optional<ServerUser> userIn(const std::string& main) {
    std::string name;
    std::string group;
    {
        const Capture quiet;
        static_cast<void>(CZPWebsite(nullptr, main.c_str()).getApacheUserGroup(main, name, group));
    }
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

std::optional<ServerUser> answeringUser(const Configuration& configuration) {
    // As the file on the disk says, and the accounts: of many sites, the first one asks.
    static std::map<std::string, std::optional<ServerUser>> known;
    const std::string& main = configuration.main().path();
    const auto [entry, fresh] = known.try_emplace(main);
    if (fresh) {
        entry->second = userIn(main);
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
