// All commands.
#pragma once

#include <string_view>
#include <vector>

#include "commands/table/Command.h"

namespace zpweb {

// In the order of the manual.
const std::vector<Command>& commandTable();
const Command* findCommand(std::string_view words);  // null when there is none

// The options that every command has.
const std::vector<Parameter>& commonOptions();

}  // namespace zpweb
