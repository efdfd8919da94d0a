#include "text/Patch.h"

#include <algorithm>
#include <sstream>

namespace zpweb {

std::string patchOf(std::string_view before, std::string_view after) {
    const size_t shorter = std::min(before.size(), after.size());
    const auto beginning = static_cast<size_t>(
        std::mismatch(before.begin(), before.begin() + static_cast<std::ptrdiff_t>(shorter), after.begin())
            .first -
        before.begin());
    size_t end = 0;
    while (end < shorter - beginning && before[before.size() - 1 - end] == after[after.size() - 1 - end]) {
        ++end;
    }
    return std::to_string(beginning) + " " + std::to_string(end) + "\n" +
           std::string(after.substr(beginning, after.size() - beginning - end));
}

std::optional<std::string> patched(std::string_view before, std::string_view patch) {
    const size_t newline = patch.find('\n');
    std::istringstream header{std::string(patch.substr(0, newline))};
    size_t beginning = 0;
    size_t end = 0;
    if (newline == std::string_view::npos || !(header >> beginning >> end) || beginning > before.size() ||
        end > before.size()) {
        return std::nullopt;
    }
    return std::string(before.substr(0, beginning)) + std::string(patch.substr(newline + 1)) +
           std::string(before.substr(before.size() - end));
}

}  // namespace zpweb
