// Text that others wrote, made safe for a terminal.
#pragma once

#include <string>
#include <string_view>

namespace zpweb {

// The text with what could steer a terminal, or hide from a reader, as "\x1b": control characters, bytes
// that are no UTF-8, and characters that turn the direction of writing or have no width. A tab stays.
std::string printable(std::string_view text);
// The same of several lines: their line ends stay too.
std::string printableLines(std::string_view text);

}  // namespace zpweb
