// A file, or a symbolic link, with all that belongs to it.
#pragma once

#include <string>

#include "sys/Outcome.h"

namespace zpweb {

// Makes `to` what `from` is, with owner, mode, ACL and attributes, and brings it to the disk. What
// stands there goes first. A failure when it is larger than `limit`.
Outcome copyWhole(const std::string& from, const std::string& to, size_t limit = std::string::npos);

}  // namespace zpweb
