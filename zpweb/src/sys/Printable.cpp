#include "sys/Printable.h"

#include <algorithm>
#include <cstdint>

namespace zpweb {

namespace {

unsigned char byteAt(std::string_view text, size_t at) { return static_cast<unsigned char>(text[at]); }

// A character of UTF-8: its number and how many bytes it takes; none where the bytes are no UTF-8.
struct Character {
    uint32_t number = 0;
    size_t size = 0;
};

Character characterAt(std::string_view text, size_t at) {
    const unsigned char first = byteAt(text, at);
    const size_t size = first < 0x80   ? 1
                        : first < 0xc2 ? 0
                        : first < 0xe0 ? 2
                        : first < 0xf0 ? 3
                        : first < 0xf5 ? 4
                                       : 0;
    if (size == 0 || at + size > text.size()) {
        return {};
    }
    uint32_t number = size == 1 ? first : first & (0x7fU >> size);
    for (size_t i = 1; i < size; ++i) {
        if ((byteAt(text, at + i) & 0xc0) != 0x80) {
            return {};
        }
        number = number << 6 | (byteAt(text, at + i) & 0x3fU);
    }
    const bool overlong = (size == 3 && number < 0x800) || (size == 4 && number < 0x10000);
    const bool none = overlong || number > 0x10ffff || (number >= 0xd800 && number < 0xe000);
    return none ? Character{} : Character{number, size};
}

// Controls, and characters that are invisible or turn the direction of what follows.
bool isUnsafe(uint32_t c) {
    return c < 0x20 || (c >= 0x7f && c < 0xa0) || c == 0xad || (c >= 0x200b && c <= 0x200f) ||
           (c >= 0x2028 && c <= 0x202e) || (c >= 0x2060 && c <= 0x206f) || c == 0xfeff;
}

void appendEscaped(std::string& result, std::string_view bytes) {
    constexpr const char* Digits = "0123456789abcdef";
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        result += "\\x";
        result += Digits[byte >> 4];
        result += Digits[byte & 15];
    }
}

std::string escaped(std::string_view text, std::string_view kept) {
    const auto plain = [&](char c) {
        return (c >= ' ' && c < '\x7f') || kept.find(c) != std::string_view::npos;
    };
    if (std::all_of(text.begin(), text.end(), plain)) {
        return std::string(text);
    }
    std::string result;
    for (size_t at = 0; at < text.size();) {
        const Character character = characterAt(text, at);
        const std::string_view bytes = text.substr(at, std::max<size_t>(character.size, 1));
        const bool safe = plain(text[at]) || (character.size > 0 && !isUnsafe(character.number));
        safe ? static_cast<void>(result += bytes) : appendEscaped(result, bytes);
        at += bytes.size();
    }
    return result;
}

}  // namespace

std::string printable(std::string_view text) { return escaped(text, "\t"); }

std::string printableLines(std::string_view text) { return escaped(text, "\t\n"); }

}  // namespace zpweb
