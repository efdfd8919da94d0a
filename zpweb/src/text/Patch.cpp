#include "text/Patch.h"

#include <algorithm>
#include <charconv>
#include <sstream>

namespace zpweb {

Patch patchOf(const Content& before, const Content& after) {
    const Pieces old = before.pieces();
    const Pieces fresh = after.pieces();
    const size_t size = sizeOf(fresh);
    const size_t beginning = equalBeginning(old, fresh);
    const size_t end = equalEnd(old, fresh, std::min(sizeOf(old), size) - beginning);
    return {std::to_string(beginning) + " " + std::to_string(end) + "\n",
            slice(fresh, beginning, size - end)};
}

std::string Patch::text() const {
    std::string text = head;
    for (const std::string_view piece : middle) {
        text += piece;
    }
    return text;
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

void appendPatch(std::string& patches, const Patch& patch) {
    const std::string text = patch.text();
    patches += std::to_string(text.size()) + "\n" + text;
}

std::optional<std::string> patchedByAll(std::string_view before, std::string_view patches) {
    std::optional text{std::string(before)};
    while (text && !patches.empty()) {
        const size_t newline = patches.find('\n');
        size_t size = 0;
        std::from_chars(patches.data(), patches.data() + std::min(newline, patches.size()), size);
        if (newline == std::string_view::npos || size > patches.size() - newline - 1) {
            return std::nullopt;
        }
        text = patched(*text, patches.substr(newline + 1, size));
        patches.remove_prefix(newline + 1 + size);
    }
    return text;
}

}  // namespace zpweb
