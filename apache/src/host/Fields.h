// The text that a caller handed over: pointers that may be null and arrays of fixed size.
#pragma once

#include <cstring>
#include <string>

namespace zp::host {

inline std::string textOf(const char* pointer) {
    return pointer == nullptr ? std::string() : std::string(pointer);
}

template <size_t Size>
std::string fieldText(const char (&field)[Size]) {
    return {field, ::strnlen(field, Size)};
}

}  // namespace zp::host
