// Files of lines with a name, a delimiter and a value.
#pragma once

#include <optional>
#include <string>

namespace zp {

struct Parameter {
    const std::string &name, &value;
    char delimiter;
};

// Does a line that is no comment carry the parameter? Absent when the file is there and cannot be read.
std::optional<bool> hasParameter(const std::string& path, const Parameter& parameter, char commentMark);

enum class Comments { Kept, Dropped };

// Copies the file with `replacement`, or nothing, in the place of each line that carries the parameter.
// True when there was one; the copy takes the file's place in any case.
bool replaceParameter(const std::string& file, const Parameter& parameter, char commentMark,
                      Comments comments, const std::string* replacement);

}  // namespace zp
