// The text that a caller handed over: pointers that may be null and arrays of fixed size.
#pragma once

#include <cstring>
#include <string>
#include <string_view>

namespace zp::host {

inline std::string textOf(const char* pointer) {
    return pointer == nullptr ? std::string() : std::string(pointer);
}

template <size_t Size>
std::string fieldText(const char (&field)[Size]) {
    return {field, ::strnlen(field, Size)};
}

// What does not fit into the field is cut off.
template <size_t Size>
void setField(char (&field)[Size], std::string_view text) {
    field[text.copy(field, Size - 1)] = '\0';
}

}  // namespace zp::host
