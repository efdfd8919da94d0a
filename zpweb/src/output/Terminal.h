// What the terminal understands.
#pragma once

#include <cstdlib>
#include <string_view>

namespace zpweb {

inline std::string_view environment(const char* name) {
    const char* value = std::getenv(name);
    return value == nullptr ? std::string_view() : std::string_view(value);
}

inline bool knowsEscapes() {
    const std::string_view kind = environment("TERM");
    return !kind.empty() && kind != "dumb";
}

inline bool wantsColours() { return knowsEscapes() && environment("NO_COLOR").empty(); }

}  // namespace zpweb
