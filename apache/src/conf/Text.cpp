#include "conf/Text.h"

#include <cstdlib>
#include <limits>
#include <string>

namespace zp::conf {

int leadingNumber(std::string_view text) {
    constexpr long lowest = std::numeric_limits<int>::min();
    constexpr long highest = std::numeric_limits<int>::max();
    const long number = std::strtol(std::string(text).c_str(), nullptr, 10);
    return static_cast<int>(number < lowest ? lowest : number > highest ? highest : number);
}

}  // namespace zp::conf
