// The difference of two texts for people.
#pragma once

#include <string>
#include <string_view>

namespace zpweb {

// The unified diff with three lines of context; empty when the texts are equal.
std::string unifiedDiff(const std::string& name, std::string_view before, std::string_view after);

}  // namespace zpweb
