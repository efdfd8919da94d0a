// The time, as records tell it.
#pragma once

#include <array>
#include <ctime>
#include <string>

namespace zpweb {

inline std::string timeOf(std::time_t time) {
    std::tm parts{};
    ::gmtime_r(&time, &parts);
    std::array<char, 32> text{};
    std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%SZ", &parts);
    return text.data();
}

inline std::string timeNow() { return timeOf(std::time(nullptr)); }

}  // namespace zpweb
