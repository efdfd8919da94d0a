// The difference of two lists of lines.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "text/Lines.h"

namespace zpweb {

// Pairs of equal entries, in the order of both lists: what stays. What is in no pair was removed or added.
struct Pair {
    size_t before, after;
};
std::vector<Pair> align(const std::vector<std::string>& before, const std::vector<std::string>& after);

// The unified diff with three lines of context; empty when the texts are equal.
std::string unifiedDiff(const std::string& name, std::string_view before, std::string_view after);

}  // namespace zpweb
