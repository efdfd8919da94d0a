// A text as its lines. The views point into the text.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace zpweb {

struct Lines {
    std::vector<std::string_view> all;  // without "\n"; a "\r" before it stays
    bool finalNewline = true;           // an empty text counts as one that ends in a newline

    explicit Lines(std::string_view text);
    size_t size() const { return all.size(); }
    std::string_view operator[](size_t i) const { return all[i]; }
};

// A range of lines: `first` up to, not including, `end`.
struct Range {
    size_t first, end;
    bool holds(size_t i) const { return i >= first && i < end; }
};

inline bool endsInReturn(std::string_view line) { return !line.empty() && line.back() == '\r'; }
inline std::string_view withoutReturn(std::string_view line) {
    return endsInReturn(line) ? line.substr(0, line.size() - 1) : line;
}
inline bool isBlank(std::string_view line) { return line.find_first_not_of(" \t\r\v\f") == line.npos; }

// The same text with every "\r\n" as "\n".
std::string withoutReturns(std::string_view text);

// The number, counted from 1, and length of the first line that has more characters than `bound`.
struct LongLine {
    size_t number = 0, length = 0;
    explicit operator bool() const { return number != 0; }
};
LongLine firstLongLine(std::string_view text, size_t bound);

}  // namespace zpweb
