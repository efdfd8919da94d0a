// Paths of directories as a configuration writes them, and which of them a text names: as document roots,
// and of <Directory> sections.
#pragma once

#include <set>
#include <string>
#include <string_view>

namespace zpweb {

// Stands for what is a pattern, relative, or written with a variable or over several lines.
inline constexpr const char* UnknownDirectory = "*";

std::string withoutSlash(std::string path);                           // at its end; "/" stays
bool isBelow(const std::string& path, const std::string& directory);  // or the directory itself
// Does a <Directory> of this path, which may have wildcards, concern the directory or one above it?
bool isAbout(const std::string& sectionPath, std::string directory);

// Each without a slash at its end; what stands in comments counts too, as it may be a stopped block.
std::set<std::string> directoriesIn(std::string_view text);

}  // namespace zpweb
