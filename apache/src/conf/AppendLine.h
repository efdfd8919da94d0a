// One line more at the end of a file.
#pragma once

#include <string>
#include <string_view>

namespace zp::conf {

enum class Links { Followed, Refused };

// Adds the line behind the file's last one, also where that has no newline, and makes a file that is
// missing. False, and the file is as it was, when the line cannot be written whole, holds a newline itself,
// or `path` is a link that is not to be followed.
[[nodiscard]] bool appendLine(const std::string& path, std::string_view line, Links links);

}  // namespace zp::conf
