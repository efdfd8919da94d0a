// The regular expressions of a configuration.
#pragma once

#include <string>

namespace zpweb {

enum class Letters : char { AsWritten, OfAnyCase };

// Is the expression found in the text? One that cannot be tried here is taken for found.
bool findsIn(const std::string& expression, const std::string& text, Letters letters = Letters::AsWritten);

}  // namespace zpweb
