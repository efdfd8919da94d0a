// What is the administrator's stays: the result of an operation without its side effects.
//
// Operations rewrite a file line by line and take liberties on the way: they drop empty lines, move
// comments, normalise the lines of other sections, end the file with a newline. Here the result is laid
// over the old text again. A line that the operation was not asked to change comes back as it was, where it
// was; what was asked for is taken from the result.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "text/Lines.h"

namespace zpweb {

// A change of the comment marks of whole blocks: each of their lines gets one more, or one less.
enum class Marks { Untouched, Added, Removed };

// What an operation is asked to change in a text.
struct Scope {
    std::vector<Range> part;                         // the lines that it gets to see
    std::vector<bool> mayChange;                     // per line of the text: may it be changed or removed?
    std::vector<bool> hidden{};                      // per line: kept from the operation; empty: none is
    std::function<bool(std::string_view)> mayAdd{};  // may it add this line (without leading white space)?
    Marks marks = Marks::Untouched;
    bool takesBlankLine = false;  // a removed part takes one of the blank lines around it along

    // The whole text, none of whose lines may be changed: lines can only be added.
    static Scope additions(const Lines& text) {
        return {{{0, text.size()}}, std::vector<bool>(text.size())};
    }
    void allow(Range range) {
        std::fill(mayChange.begin() + static_cast<std::ptrdiff_t>(range.first),
                  mayChange.begin() + static_cast<std::ptrdiff_t>(range.end), true);
    }
};

// The part that the operation gets, with plain line ends. Comments of a live block are best hidden from it:
// some operations take a directive that was commented out for a live one.
std::string partOf(const Lines& before, const Scope& scope);

// The whole text, with what the operation made of its part.
std::string merged(const Lines& before, const Scope& scope, std::string_view result);

}  // namespace zpweb
