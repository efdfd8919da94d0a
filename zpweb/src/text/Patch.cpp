#include "text/Patch.h"

#include <algorithm>
#include <cstring>
#include <sstream>

namespace zpweb {

namespace {

constexpr size_t Block = 4096;

// How many characters the texts begin with alike: by blocks first, which takes most of the way.
size_t equalBeginning(std::string_view a, std::string_view b) {
    const size_t shorter = std::min(a.size(), b.size());
    size_t at = 0;
    while (at + Block <= shorter && std::memcmp(a.data() + at, b.data() + at, Block) == 0) {
        at += Block;
    }
    while (at < shorter && a[at] == b[at]) {
        ++at;
    }
    return at;
}

size_t equalEnd(std::string_view a, std::string_view b) {
    const size_t shorter = std::min(a.size(), b.size());
    size_t length = 0;
    while (length + Block <= shorter && std::memcmp(a.data() + a.size() - length - Block,
                                                    b.data() + b.size() - length - Block, Block) == 0) {
        length += Block;
    }
    while (length < shorter && a[a.size() - 1 - length] == b[b.size() - 1 - length]) {
        ++length;
    }
    return length;
}

std::string patchText(size_t beginning, size_t end, std::string_view middle) {
    return std::to_string(beginning) + " " + std::to_string(end) + "\n" + std::string(middle);
}

}  // namespace

std::string patchOf(const Content& before, const Content& after) {
    if (after.isMadeOf(before)) {
        const auto [head, middle, tail] = after.pieces();
        return patchText(head.size(), tail.size(), middle);
    }
    const std::string_view old = before.text();
    const std::string_view fresh = after.text();
    const size_t beginning = equalBeginning(old, fresh);
    const size_t end = equalEnd(old.substr(beginning), fresh.substr(beginning));
    return patchText(beginning, end, fresh.substr(beginning, fresh.size() - beginning - end));
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
