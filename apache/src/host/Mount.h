// Where a rename can lead: within one mount. Two mounts of one file system, as containers and services have
// them, are two places to rename(2).
#pragma once

#include <fcntl.h>
#include <sys/stat.h>

#include <string>

#include "host/Machine.h"

namespace zp::host {

// Of two directories. False when one of them cannot be looked at.
inline bool onSameMount(const std::string& one, const std::string& other) {
    const auto look = [](const std::string& directory, struct statx& status) {
        const bool seen = ::statx(AT_FDCWD, directory.c_str(), 0, STATX_MNT_ID, &status) == 0;
        if (!seen) {
            noteFault(directory);
        }
        return seen;
    };
    struct statx first {};
    struct statx second {};
    return look(one, first) && look(other, second) && first.stx_mnt_id == second.stx_mnt_id &&
           first.stx_dev_major == second.stx_dev_major && first.stx_dev_minor == second.stx_dev_minor;
}

}  // namespace zp::host
