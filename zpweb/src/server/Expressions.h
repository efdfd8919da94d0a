// The regular expressions of a configuration, as the server tries them: Perl's, by PCRE.
#pragma once

#include <string>

namespace zpweb {

enum class Letters : char { AsWritten, OfAnyCase };

// Is the expression found in the text? One that is no expression, or takes too long to try, counts as
// found.
bool findsIn(const std::string& expression, const std::string& text, Letters letters = Letters::AsWritten);

}  // namespace zpweb
