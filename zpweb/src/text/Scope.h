// What an operation is asked to change in a text.
#pragma once

#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "text/Lines.h"
#include "text/Sites.h"

namespace zpweb {

struct Scope {
    // An excerpt of the text: what the operation gets to see, and the lines around it that count for what
    // becomes of an empty line. All that follows is in terms of its lines.
    std::string_view text;
    Lines lines{text};
    size_t first = 0;  // the number of its first line in the text

    std::vector<Range> part{};      // what the operation gets to see
    std::vector<bool> mayChange{};  // per line: may it be changed or removed?
    std::vector<bool> hidden{};     // per line: kept from the operation

    // The whole text, none of whose lines may be changed: lines can only be added.
    static Scope additions(std::string_view text);
    // Some of the text's blocks, in their order. No line may be changed yet.
    static Scope ofBlocks(std::string_view text, const std::vector<Block>& blocks);

    // Keeps the comments of a live block from the operation: some take a directive that was commented out
    // for a live one.
    void hideComments(const Block& block);
    void allow(Range range) {
        std::fill(mayChange.begin() + static_cast<std::ptrdiff_t>(range.first),
                  mayChange.begin() + static_cast<std::ptrdiff_t>(range.end), true);
    }
    bool sees(size_t line) const {
        return std::any_of(part.begin(), part.end(),
                           [line](const Range& range) { return range.holds(line); });
    }
    // What the operation gets: its part, with plain line ends.
    std::string partText() const;
};

}  // namespace zpweb
