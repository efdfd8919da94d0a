// Single files.
#pragma once

#include <sys/types.h>

#include <optional>
#include <string>

namespace zp::host {

// The size in bytes, a link followed. Absent for what is missing or not a file.
std::optional<off_t> sizeOfFile(const std::string& path);

// A link is removed as a link; a folder stays. Whether it worked is not examined.
void removeFile(const std::string& path);

}  // namespace zp::host
