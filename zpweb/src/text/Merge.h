// Two changes of one text, put together line by line.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace zpweb {

// The base with what both others change in it. Absent when they change the same lines, or neighbours, in
// different ways.
std::optional<std::string> mergedChanges(std::string_view base, std::string_view ours,
                                         std::string_view theirs);

}  // namespace zpweb
