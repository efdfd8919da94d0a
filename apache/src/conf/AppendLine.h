// One line more at the end of a file.
#pragma once

#include <string>
#include <string_view>

#include "host/HeldFile.h"

namespace zp::conf {

// Adds the line behind the file's last one, also where that has no newline. On held ground a file that is
// missing is made. False, and the file is as it was, when the line cannot be written whole or holds a
// newline itself.
[[nodiscard]] bool appendLine(const std::string& path, std::string_view line);
[[nodiscard]] bool appendLine(const host::HeldFile& file, std::string_view line);

}  // namespace zp::conf
