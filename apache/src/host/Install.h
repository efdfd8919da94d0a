// Putting shipped files in place on the host.
#pragma once

#include <sys/types.h>

#include <string>

namespace zp::host {

// Makes the directory, with exactly this mode, unless it can be opened already. Its parent must be there.
void makeMissingDirectory(const std::string& path, mode_t mode);

// Copies the file with "cp"; the copy belongs to root and gets exactly this mode. Whether any of it worked
// is not examined.
void installFile(const std::string& source, const std::string& target, mode_t mode);

}  // namespace zp::host
