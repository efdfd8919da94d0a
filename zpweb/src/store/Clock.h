// The time, as records tell it.
#pragma once

#include <array>
#include <ctime>
#include <string>

namespace zpweb {

inline std::string timeNow() {
    const std::time_t time = std::time(nullptr);
    std::tm parts{};
    ::gmtime_r(&time, &parts);
    std::array<char, 32> text{};
    std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%SZ", &parts);
    return text.data();
}

}  // namespace zpweb
