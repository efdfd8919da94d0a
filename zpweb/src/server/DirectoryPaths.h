// Which directories a text names: as document roots, and of <Directory> sections.
#pragma once

#include <set>
#include <string>
#include <string_view>

namespace zpweb {

// Stands for what is a pattern, relative, or written with a variable or over several lines.
inline constexpr const char* UnknownDirectory = "*";

// Each without a slash at its end; what stands in comments counts too, as it may be a stopped block.
std::set<std::string> directoriesIn(std::string_view text);

}  // namespace zpweb
