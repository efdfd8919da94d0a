// Which word of a command line is unknown, and which one may have been meant.
#pragma once

#include <string>
#include <vector>

namespace zpweb {

// What is wrong with a command, or with an option of it, as a sentence; empty when all words are known.
std::string unknownWord(const std::vector<std::string>& words);

}  // namespace zpweb
