// What is the administrator's stays: the result of an operation without its side effects.
//
// Operations rewrite a file line by line and take liberties on the way: they drop empty lines, move
// comments, normalise the lines of other sections, end the file with a newline. Here the result is laid
// over the old text again. A line that the operation was not asked to change comes back as it was, where it
// was; what was asked for is taken from the result.
#pragma once

#include <string>
#include <string_view>

#include "text/Scope.h"

namespace zpweb {

// The scope's text, with what the operation made of its part.
std::string merged(const Scope& scope, std::string_view result);

}  // namespace zpweb
