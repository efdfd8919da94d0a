// A part of a text as an operation gets it, and the way back.
#pragma once

#include <functional>
#include <string>
#include <string_view>

namespace zpweb {

struct Excerpt {
    std::string_view of;  // what the way back replaces, a view of the text
    std::string seen;     // what the operation gets
    std::function<std::string(std::string_view made)> back;
    size_t line = 0;  // where it begins, for messages
};

}  // namespace zpweb
