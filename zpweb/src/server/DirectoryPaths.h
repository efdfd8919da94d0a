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
// The same and whatever else lines name by an absolute path: the target of an Alias, a log, a key.
std::set<std::string> pathsIn(std::string_view text);

// Does the line name the directory, or something in it?
bool leadsInto(std::string_view line, const std::string& directory);

}  // namespace zpweb
