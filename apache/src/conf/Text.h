// Questions about a piece of text, in the C locale's terms: letter case and white space are ASCII.
#pragma once

#include <cstdint>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>

namespace zp::conf {

constexpr bool isSpace(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

constexpr bool isLetter(char c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'); }

constexpr char lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c; }

constexpr bool equalIgnoringCase(char a, char b) { return a == b || lower(a) == lower(b); }

// The first eight characters in one number, which is the same whatever the case of letters.
inline uint64_t firstEight(std::string_view text) {
    uint64_t eight = 0;
    std::memcpy(&eight, text.data(), sizeof eight);
    return eight | 0x2020202020202020;
}

inline bool equalIgnoringCase(std::string_view a, std::string_view b) {
    // Texts that differ mostly do so here, in one step.
    if (a.size() != b.size() || (a.size() >= sizeof(uint64_t) && firstEight(a) != firstEight(b))) {
        return false;
    }
    for (size_t i = 0; i < a.size(); ++i) {
        if (!equalIgnoringCase(a[i], b[i])) {
            return false;
        }
    }
    return true;
}

inline bool beginsIgnoringCase(std::string_view text, std::string_view beginning) {
    return text.size() >= beginning.size() &&
           equalIgnoringCase(text.substr(0, beginning.size()), beginning);
}

constexpr bool contains(std::string_view text, std::string_view part) {
    return text.find(part) != std::string_view::npos;
}

constexpr bool isOneLine(std::string_view text) { return !contains(text, "\n"); }

// The text from its `count`th character on; a shorter text ends there.
constexpr std::string_view stepOver(std::string_view text, size_t count) {
    return text.substr(count < text.size() ? count : text.size());
}

constexpr std::string_view skipSpace(std::string_view text) {
    size_t i = 0;
    while (i < text.size() && isSpace(text[i])) {
        ++i;
    }
    return text.substr(i);
}

constexpr std::string_view trimEnd(std::string_view text) {
    while (!text.empty() && isSpace(text.back())) {
        text.remove_suffix(1);
    }
    return text;
}

// Leading blanks, then leading tabs; a blank behind a tab stays.
constexpr std::string_view skipBlanksThenTabs(std::string_view text) {
    while (!text.empty() && text.front() == ' ') {
        text.remove_prefix(1);
    }
    while (!text.empty() && text.front() == '\t') {
        text.remove_prefix(1);
    }
    return text;
}

// One double quote is dropped at each end, if it stands there.
constexpr std::string_view unquoted(std::string_view text) {
    if (text.starts_with('"')) {
        text.remove_prefix(1);
    }
    if (text.ends_with('"')) {
        text.remove_suffix(1);
    }
    return text;
}

// What stands before the first of `ends`; the whole text when there is none.
constexpr std::string_view upTo(std::string_view text, std::string_view ends) {
    return text.substr(0, text.find_first_of(ends));
}

// A text split at its first blank (a tab does not split). Without a blank the rest is empty.
struct Words {
    std::string_view keyword, rest;
};

constexpr Words splitAtBlank(std::string_view text) {
    const size_t blank = text.find(' ');
    return blank == std::string_view::npos ? Words{text, {}}
                                           : Words{text.substr(0, blank), text.substr(blank + 1)};
}

// The text between the first two double quotes; absent when there are not two.
constexpr std::optional<std::string_view> betweenQuotes(std::string_view text) {
    const size_t open = text.find('"');
    if (open == std::string_view::npos) {
        return std::nullopt;
    }
    const size_t close = text.find('"', open + 1);
    if (close == std::string_view::npos) {
        return std::nullopt;
    }
    return text.substr(open + 1, close - open - 1);
}

// A value at the beginning of a text: what stands in its double quotes or, where it begins with none, the
// whole text. Where the second quote is missing it is the whole rest and `closed` is false.
struct Value {
    std::string_view text;
    bool closed;
};

constexpr Value leadingValue(std::string_view text) {
    if (!text.starts_with('"')) {
        return {text, true};
    }
    const size_t close = text.find('"', 1);
    return {stepOver(text, 1).substr(0, close - 1), close != std::string_view::npos};
}

// The text with each `part` (not empty) replaced; what is put in is not looked at again.
std::string replaceAll(std::string_view text, std::string_view part, std::string_view replacement);

// A number as atoi reads it: white space, a sign, digits; 0 without digits. Too large a number is the
// largest that fits.
int leadingNumber(std::string_view text);

}  // namespace zp::conf
