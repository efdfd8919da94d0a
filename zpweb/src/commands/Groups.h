// The groups of commands, one source unit each.
#pragma once

#include <array>
#include <vector>

#include "cli/Command.h"

namespace zpweb {

std::vector<Command> siteCommands();
std::vector<Command> siteSettingCommands();
std::vector<Command> addressCommands();
std::vector<Command> virtualDirectoryCommands();
std::vector<Command> userCommands();
std::vector<Command> handlerCommands();
std::vector<Command> directiveCommands();
std::vector<Command> moduleCommands();
std::vector<Command> serverCommands();
std::vector<Command> applyCommand();
std::vector<Command> historyCommands();
std::vector<Command> doctorCommands();

inline constexpr std::array commandGroups = {
    siteCommands,   siteSettingCommands, addressCommands,   virtualDirectoryCommands,
    userCommands,   handlerCommands,     directiveCommands, moduleCommands,
    serverCommands, applyCommand,        historyCommands,   doctorCommands,
};

}  // namespace zpweb
