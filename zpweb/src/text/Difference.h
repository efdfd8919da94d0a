// The difference of two texts for people.
#pragma once

#include <string>
#include <string_view>

namespace zpweb {

// The unified diff with three lines of context; empty when the texts are equal.
std::string unifiedDiff(const std::string& name, std::string_view before, std::string_view after);
// The same, but for a password file: what stands in it is nobody's to see.
std::string shownDiff(const std::string& path, std::string_view before, std::string_view after);

}  // namespace zpweb
