#pragma once

#include <unistd.h>

#include <cerrno>
#include <string_view>

namespace zp::host {

// False when it could not be written to its end.
[[nodiscard]] inline bool writeAll(int descriptor, std::string_view text) {
    while (!text.empty()) {
        const ssize_t count = ::write(descriptor, text.data(), text.size());
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count <= 0) {
            return false;
        }
        text.remove_prefix(static_cast<size_t>(count));
    }
    return true;
}

}  // namespace zp::host
