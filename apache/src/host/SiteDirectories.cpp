#include "host/SiteDirectories.h"

#include <algorithm>

#include "host/Machine.h"

namespace zp::host {

bool makeSiteDirectories(const std::string& home, const Account& owner, const std::string& administrator) {
    // An administrator without an account leaves the log directories to root.
    const Ownership administrators = inPanelGroup(administrator);
    const Ownership owners{owner.user, owner.group};
    return std::ranges::all_of(site::Directories, [&](const site::Directory& directory) {
        const Ownership& ownership = directory.ofAdministrator ? administrators : owners;
        return machine().effect({.step = Effect::Step::MakeDirectory,
                                 .path = home + directory.path,
                                 .user = ownership.user,
                                 .group = ownership.group,
                                 .mode = directory.mode});
    });
}

}  // namespace zp::host
