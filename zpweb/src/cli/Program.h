// One run of the program: its command line, the command, its end.
#pragma once

#include "cli/CommandLine.h"

namespace zpweb {

// Runs changes as one: one lock, one check, one commit, one reload.
struct Invocation {
    const Command* command = nullptr;
    Arguments arguments;
};
Outcome runChanges(Settings& settings, Output& output, const std::vector<std::string>& words,
                   std::vector<Invocation> invocations);

int runCommandLine(int argc, char** argv);

}  // namespace zpweb
