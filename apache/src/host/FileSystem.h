// Paths, and what stands at them. Nothing here is for a place where others than the administrator write.
#pragma once

#include <sys/types.h>

#include <optional>
#include <span>
#include <string>
#include <vector>

namespace zp::host {

// A path in two: the directory ("." when none is named) and the name in it.
struct Location {
    std::string directory, name;
};
Location locationOf(const std::string& path);

// The same place, named so that a link in it is not followed: without "/" and "/." at the end.
std::string withoutTrailingSlashes(std::string path);

bool exists(const std::string& path);
bool isDirectory(const std::string& path);  // a link to one counts

// The size in bytes, a link followed. Absent for what is missing or not a file.
std::optional<off_t> sizeOfFile(const std::string& path);
// The permission bits, set-ID bits included, of what the path leads to.
std::optional<mode_t> modeOf(const std::string& path);
// Mode and type of a file or directory, a link followed; 0 when they cannot be had.
mode_t modeAndTypeOf(const std::string& path);

// A link is removed as a link; a directory stays. Whether it worked is not examined.
void removeFile(const std::string& path);

// The names of a directory's entries that are not directories themselves (a link to one counts as one), in
// the order in which the system lists them; none when it cannot be read.
std::vector<std::string> filesIn(const std::string& directory);

// Enters the first of the directories that can be entered, and tells which; "" when none can.
std::string enterFirstOf(std::span<const char* const> directories);

}  // namespace zp::host
