// Many commands as one change.
#pragma once

#include "cli/Command.h"

namespace zpweb {

// Reads commands as JSON lines from the file that the arguments name ("-": standard input).
Outcome applyCommands(Settings& settings, Output& output, const std::vector<std::string>& words,
                      const Arguments& arguments);

}  // namespace zpweb
