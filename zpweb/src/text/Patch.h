// The difference of two texts that differ in one place, in little space.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "sys/Content.h"

namespace zpweb {

// What stands between the equal beginnings and the equal ends of the two, as views of the latter.
struct Patch {
    std::string head;  // how long they are
    Pieces middle;
    std::string text() const;
};
Patch patchOf(const Content& before, const Content& after);
// The text after; absent when the patch is not one of this text.
std::optional<std::string> patched(std::string_view before, std::string_view patch);

// Several in one text, each to be made of what the one before it has made.
void appendPatch(std::string& patches, const Patch& patch);
std::optional<std::string> patchedByAll(std::string_view before, std::string_view patches);

}  // namespace zpweb
