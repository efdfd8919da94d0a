// Where a rename can lead: within one mount. Two mounts of one file system, as containers and services have
// them, are two places to rename(2).
#pragma once

#include <fcntl.h>
#include <sys/stat.h>

#include <string>

#include "host/Machine.h"

namespace zp::host {

// A path, itself where it is a link, and a directory. False when one of them cannot be looked at.
inline bool onSameMount(const std::string& path, const std::string& directory) {
    const auto look = [](const std::string& at, int flags, struct statx& status) {
        const bool seen = ::statx(AT_FDCWD, at.c_str(), flags, STATX_MNT_ID, &status) == 0;
        if (!seen) {
            noteFault(at);
        }
        return seen;
    };
    struct statx first {};
    struct statx second {};
    return look(path, AT_SYMLINK_NOFOLLOW, first) && look(directory, 0, second) &&
           first.stx_mnt_id == second.stx_mnt_id && first.stx_dev_major == second.stx_dev_major &&
           first.stx_dev_minor == second.stx_dev_minor;
}

}  // namespace zp::host
