#pragma once

#include <unistd.h>

#include <array>
#include <cerrno>
#include <optional>
#include <string>

namespace zp::host {

// What is left of an open file; absent when it could not be read to its end.
[[nodiscard]] inline std::optional<std::string> readAll(int descriptor) {
    std::string text;
    std::array<char, 16384> part{};
    for (;;) {
        const ssize_t count = ::read(descriptor, part.data(), part.size());
        if (count == 0) {
            return text;
        }
        if (count < 0 && errno != EINTR) {
            return std::nullopt;
        }
        text.append(part.data(), count < 0 ? 0 : static_cast<size_t>(count));
    }
}

}  // namespace zp::host
