// Which line of an operation's result is which line of the text.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "text/Lines.h"
#include "text/Scope.h"

namespace zpweb {

inline constexpr size_t NoPartner = static_cast<size_t>(-1);

std::string_view trimmed(std::string_view line);
bool isComment(std::string_view line);
// Two lines with the same key say the same: white space around them does not count, nor does the way in
// which the path of a <Directory> is written.
std::string keyOf(std::string_view line);

// The text of a scope, line by line.
struct Subject {
    const Scope& scope;

    size_t size() const { return scope.lines.size(); }
    std::string_view operator[](size_t i) const { return scope.lines[i]; }
    bool mayChange(size_t i) const { return scope.mayChange[i]; }
    bool isEmpty(size_t i) const { return withoutReturn(scope.lines[i]).empty(); }
    // Comments are not matched: they stay where they are, and an operation never writes one.
    bool isMatched(size_t i) const { return !isEmpty(i) && !isComment(scope.lines[i]); }
    std::string key(size_t i) const { return keyOf(scope.lines[i]); }
};

struct Matching {
    std::vector<size_t> seen;     // the lines of the text that the operation saw
    std::vector<size_t> partner;  // of each line of the text
    std::vector<bool> taken;      // of each line of the result: it has a partner
    Range middle{0, 0};           // what is neither an equal beginning nor an equal end, in terms of `seen`
};
Matching match(const Subject& before, const Lines& after);

}  // namespace zpweb
