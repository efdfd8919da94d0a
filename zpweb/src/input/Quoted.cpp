#include "input/Quoted.h"

#include <algorithm>

#include "sys/Printable.h"

namespace zpweb {

namespace {

// At most so many bytes, and no character cut in two.
std::string_view beginningOf(std::string_view value, size_t longest) {
    size_t end = std::min(longest, value.size());
    while (end < value.size() && end > 0 && (static_cast<unsigned char>(value[end]) & 0xc0) == 0x80) {
        --end;
    }
    return value.substr(0, end);
}

}  // namespace

std::string inQuotes(std::string_view value) {
    constexpr size_t Longest = 80;
    std::string marked;
    for (const char c : beginningOf(value, Longest)) {
        if (c == '\n' || c == '\r' || c == '\t') {
            marked += c == '\n' ? "\\n" : c == '\r' ? "\\r" : "\\t";
            continue;
        }
        marked += c == '"' || c == '\\' ? "\\" : "";
        marked += c;
    }
    return '"' + printable(marked) + (value.size() > Longest ? "...\"" : "\"");
}

Outcome wrongValue(std::string_view kind, std::string_view value, std::string_view fault,
                   std::string_view expectation) {
    return failure(Status::Usage, std::string(kind) + " " + inQuotes(value) + ": " + std::string(fault) +
                                      "; " + std::string(expectation));
}

}  // namespace zpweb
