// The help: of the program, of a group of commands, of a command.
#pragma once

#include <ostream>
#include <string>

namespace zpweb {

// `words`: "site create", "site", or nothing. False when there is nothing of this name; nothing is printed
// then.
bool printHelp(std::ostream& out, const std::string& words);

}  // namespace zpweb
