// Numbers in texts.
#pragma once

#include <charconv>
#include <string_view>

namespace zpweb {

// The decimal number at the beginning of a text; 0 when there is none.
inline int leadingNumber(std::string_view text) {
    int number = 0;
    std::from_chars(text.data(), text.data() + text.size(), number);
    return number;
}

}  // namespace zpweb
