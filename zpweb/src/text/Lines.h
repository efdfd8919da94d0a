// A text as its lines. The views point into the text.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "sys/Outcome.h"

namespace zpweb {

// A range of lines: `first` up to, not including, `end`.
struct Range {
    size_t first, end;
    bool holds(size_t i) const { return i >= first && i < end; }
};

struct Lines {
    std::vector<std::string_view> all;  // without "\n"; a "\r" before it stays
    bool finalNewline = true;           // an empty text counts as one that ends in a newline

    explicit Lines(std::string_view text);
    size_t size() const { return all.size(); }
    std::string_view operator[](size_t i) const { return all[i]; }
};

inline bool endsInReturn(std::string_view line) { return !line.empty() && line.back() == '\r'; }
inline std::string_view withoutReturn(std::string_view line) {
    return endsInReturn(line) ? line.substr(0, line.size() - 1) : line;
}

// Refuses a file with a line that has more characters than an operation reads.
Outcome holdsNoLongLine(const std::string& file, const Lines& lines, size_t bound);

}  // namespace zpweb
