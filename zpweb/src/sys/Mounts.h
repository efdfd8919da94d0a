// What is mounted where.
#pragma once

#include <optional>
#include <string>

namespace zpweb {

// A place where something is mounted: this directory, or one below it.
std::optional<std::string> mountIn(const std::string& directory);

}  // namespace zpweb
