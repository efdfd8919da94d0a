// Runs commands.
#pragma once

#include <vector>

#include "commands/table/Command.h"

namespace zpweb {

// A command with the values of its call.
struct Invocation {
    const Command* command = nullptr;
    Arguments arguments;
};

Outcome runCommand(Session& session, const Command& command, Arguments arguments);
// Runs changes as one: one lock, one check, one commit, one reload.
// They are made for the configuration with this fingerprint; an empty one: for any.
Outcome runChanges(Session& session, std::vector<Invocation> invocations,
                   const std::string& fingerprint = {});

// Stages them one after the other, up to the first that fails.
Outcome runAll(Transaction& change, const std::vector<Invocation>& invocations, bool tellsEach);
// Tells what has become of a change as a whole.
Outcome conclude(const Settings& settings, Output& output, Outcome outcome);

// Of all files of the configuration.
std::string fingerprintOf(const Configuration& configuration);

}  // namespace zpweb
