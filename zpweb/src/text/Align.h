// What two lists have in common, in order.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace zpweb {

// Pairs of equal entries, in the order of both lists: what stays. What is in no pair was removed or added.
struct Pair {
    size_t before, after;
};
std::vector<Pair> align(const std::vector<std::string>& before, const std::vector<std::string>& after);
std::vector<Pair> align(const std::vector<std::string_view>& before,
                        const std::vector<std::string_view>& after);

}  // namespace zpweb
