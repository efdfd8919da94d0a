// Files of lines with a name, a delimiter and a value.
#pragma once

#include <optional>
#include <string>

namespace zp {

// Does a line that is no comment carry the parameter? Absent when the file is there and cannot be read.
std::optional<bool> hasParameter(const std::string& file, const std::string& name, const std::string& value,
                                 char delimiter, char commentMark);

}  // namespace zp
