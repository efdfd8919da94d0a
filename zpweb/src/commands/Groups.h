// The groups of commands, one source unit each.
#pragma once

#include <array>
#include <vector>

#include "cli/Command.h"

namespace zpweb {

std::vector<Command> siteCreation();
std::vector<Command> siteLife();
std::vector<Command> siteListing();
std::vector<Command> siteShowing();
std::vector<Command> siteSettings();
std::vector<Command> siteHosts();
std::vector<Command> addressCommands();
std::vector<Command> virtualDirectoryCommands();
std::vector<Command> virtualDirectoryShowing();
std::vector<Command> webUserCommands();
std::vector<Command> protectionCommands();
std::vector<Command> handlerCommands();
std::vector<Command> suPhpCommands();
std::vector<Command> hostingCommands();
std::vector<Command> directiveCommands();
std::vector<Command> folderCommands();
std::vector<Command> parameterFileCommands();
std::vector<Command> moduleCommands();
std::vector<Command> serverCommands();
std::vector<Command> applyCommand();
std::vector<Command> historyCommands();
std::vector<Command> undoCommand();
std::vector<Command> doctorCommands();

// In the order of the manual.
inline constexpr std::array commandGroups = {
    siteCreation,
    siteLife,
    siteListing,
    siteShowing,
    siteSettings,
    siteHosts,
    addressCommands,
    virtualDirectoryCommands,
    virtualDirectoryShowing,
    webUserCommands,
    protectionCommands,
    handlerCommands,
    suPhpCommands,
    hostingCommands,
    directiveCommands,
    folderCommands,
    parameterFileCommands,
    moduleCommands,
    serverCommands,
    applyCommand,
    historyCommands,
    undoCommand,
    doctorCommands,
};

}  // namespace zpweb
