// Values in messages.
#pragma once

#include <string>
#include <string_view>

#include "sys/Outcome.h"

namespace zpweb {

// The value in quotes, on one line: control characters, quotes and backslashes are escaped.
std::string inQuotes(std::string_view value);

// One line: what kind of value, the value, what is wrong with it and what is expected.
Outcome wrongValue(std::string_view kind, std::string_view value, std::string_view fault,
                   std::string_view expectation);

}  // namespace zpweb
