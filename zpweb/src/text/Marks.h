// Comment marks before each line of a block: how a site is stopped.
#pragma once

#include <string>
#include <string_view>

namespace zpweb {

// One more mark in the first column of each line that is not empty.
std::string withMarks(std::string_view text);
// The first mark of each line taken away.
std::string withoutMarks(std::string_view text);
// A blank in its place.
std::string withBlankMarks(std::string_view text);

}  // namespace zpweb
