// A look at what stands at a path, that tells of a call that went wrong.
#pragma once

#include <sys/stat.h>

#include <string>

#include "host/Machine.h"

namespace zpweb {

// False when nothing is there, and when that could not be found out.
[[nodiscard]] inline bool lookAt(const std::string& path, struct stat& status) {
    const bool seen = ::stat(path.c_str(), &status) == 0;
    if (!seen) {
        zp::host::noteFault(path);
    }
    return seen;
}

}  // namespace zpweb
