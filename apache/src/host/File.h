// Single files.
#pragma once

#include <sys/types.h>

#include <optional>
#include <string>

namespace zp::host {

// The size in bytes, a link followed. Absent for what is missing or not a file.
std::optional<off_t> sizeOfFile(const std::string& path);

// Mode and type of a file or folder, a link followed; 0 when they cannot be had.
mode_t modeAndTypeOf(const std::string& path);

// A link is removed as a link; a folder stays. Whether it worked is not examined.
void removeFile(const std::string& path);

}  // namespace zp::host
