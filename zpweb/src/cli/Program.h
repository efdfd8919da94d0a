// One run of the program: its command line, the command, its end.
#pragma once

#include "cli/Command.h"

namespace zpweb {

// The values of a call, checked and brought into the form in which they are used.
Expected<Arguments> typedArguments(const Command& command,
                                   const std::map<std::string, std::vector<std::string>>& given);

// Runs changes as one: one lock, one check, one commit, one reload.
struct Invocation {
    const Command* command = nullptr;
    Arguments arguments;
};
Outcome runChanges(Settings& settings, Output& output, const std::vector<std::string>& words,
                   const std::vector<Invocation>& invocations);

int runCommandLine(int argc, char** argv);

}  // namespace zpweb
