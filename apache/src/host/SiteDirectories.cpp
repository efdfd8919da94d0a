#include "host/SiteDirectories.h"

#include "host/Machine.h"

namespace zp::host {

namespace {

// The set-user-ID bit on a directory has no meaning to Linux; the panel's other programs look for it.
constexpr mode_t ContentMode = 04701;
constexpr mode_t DatabaseMode = 04707;
constexpr mode_t SpecialMode = 04705;
constexpr mode_t LogMode = 0505;

}  // namespace

bool makeSiteDirectories(const std::string& home, const Account& owner, const std::string& administrator) {
    const auto make = [&](const char* directory, mode_t mode, const Ownership& ownership) {
        return machine().effect({.step = Effect::Step::MakeDirectory,
                                 .path = home + directory,
                                 .user = ownership.user,
                                 .group = ownership.group,
                                 .mode = mode});
    };
    const Ownership owners{owner.user, owner.group};
    // An administrator without an account leaves the log directories to root.
    const Ownership administrators = inPanelGroup(administrator);
    return make(site::Content, ContentMode, owners) && make(site::Html, ContentMode, owners) &&
           make(site::Scripts, ContentMode, owners) && make(site::Logs, LogMode, administrators) &&
           make(site::ServerLogs, LogMode, administrators) && make(site::Databases, DatabaseMode, owners) &&
           make(site::Special, SpecialMode, owners);
}

}  // namespace zp::host
