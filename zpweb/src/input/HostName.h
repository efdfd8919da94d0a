// Host names, by RFC 1123 after IDNA.
#pragma once

#include <string>
#include <string_view>

#include "sys/Outcome.h"

namespace zpweb {

// The ASCII form in lower case. A usage failure names the value, what is wrong, and what is expected.
Expected<std::string> asciiHostName(const std::string& entered);
// The form that people read; the same for a plain name.
std::string readableHostName(const std::string& ascii);
// Is it the same name, in any letter case and either form?
bool sameHost(std::string_view a, std::string_view b);

}  // namespace zpweb
