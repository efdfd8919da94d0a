#include "server/ServerUser.h"

#include <grp.h>
#include <pwd.h>

#include <algorithm>
#include <map>

#include "conf/Text.h"
#include "host/Accounts.h"
#include "server/Program.h"
#include "sys/Number.h"
#include "text/Sites.h"

namespace zpweb {

namespace {

// "#33" is the one of that number.
std::string userCalled(const std::string& text) {
    const passwd* entry =
        text.starts_with('#') ? ::getpwuid(static_cast<uid_t>(leadingNumber(text.substr(1)))) : nullptr;
    return entry != nullptr ? entry->pw_name : text;
}

std::string groupCalled(const std::string& text) {
    const group* entry =
        text.starts_with('#') ? ::getgrgid(static_cast<gid_t>(leadingNumber(text.substr(1)))) : nullptr;
    return entry != nullptr ? entry->gr_name : text;
}

// As the last such lines say, whatever conditions they stand in; Debian's name variables of the server's
// environment. Of many sites, the first one asks.
const ServerAccount& writtenAccount(const Configuration& configuration) {
    static std::map<std::string, ServerAccount> known;
    const std::string& main = configuration.main().path();
    const auto [entry, fresh] = known.try_emplace(main);
    for (const ConfigurationFile* file :
         fresh ? configuration.serverParts() : std::vector<const ConfigurationFile*>()) {
        for (size_t i = 0; i < file->lines().size(); ++i) {
            const std::vector<std::string> words = argumentsIn(file->lines()[i]);
            const bool isUser = words.size() == 2 && zp::conf::equalIgnoringCase(words[0], "User");
            if (isUser || (words.size() == 2 && zp::conf::equalIgnoringCase(words[0], "Group"))) {
                const std::string name = configuration.resolvedAt(words[1], *file, i);
                // A shell tells what the server is started with.
                (isUser ? entry->second.user : entry->second.group) =
                    zp::conf::contains(name, "${") ? resolved(name, variablesOfServer(main)) : name;
            }
        }
    }
    return entry->second;
}

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

ServerAccount serverAccount(const Configuration& configuration, const Reading* reading) {
    ServerAccount account = reading != nullptr ? reading->account() : ServerAccount{};
    if (account.user.empty()) {
        account = writtenAccount(configuration);
    }
    return {userCalled(account.user), groupCalled(account.group)};
}

std::optional<ServerUser> answeringUser(const Configuration& configuration, const Reading* reading) {
    static std::map<std::string, std::optional<ServerUser>> known;  // the same of the host's accounts
    const std::string name = serverAccount(configuration, reading).user;
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
