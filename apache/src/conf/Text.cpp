#include "conf/Text.h"

#include <cstdlib>
#include <limits>
#include <string>

namespace zp::conf {

std::string replaceAll(std::string_view text, std::string_view part, std::string_view replacement) {
    std::string replaced;
    for (size_t at = text.find(part); at != std::string_view::npos; at = text.find(part)) {
        replaced.append(text.substr(0, at)).append(replacement);
        text.remove_prefix(at + part.size());
    }
    return replaced.append(text);
}

int leadingNumber(std::string_view text) {
    constexpr long lowest = std::numeric_limits<int>::min();
    constexpr long highest = std::numeric_limits<int>::max();
    const long number = std::strtol(std::string(text).c_str(), nullptr, 10);
    return static_cast<int>(number < lowest ? lowest : number > highest ? highest : number);
}

}  // namespace zp::conf
