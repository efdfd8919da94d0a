// The words that the program was called with.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "cli/Command.h"
#include "cli/Documents.h"

namespace zpweb {

using Values = std::map<std::string, std::vector<std::string>>;

struct CommandLine {
    // One of the two is there.
    const Command* command = nullptr;
    const Document* document = nullptr;
    Values common, given;  // the options that every command has, and the command's own parameters
};

// Fills the line. A number is the exit status of a run that ends here: help, version, a usage failure.
std::optional<int> parse(CommandLine& line, int argc, char** argv);

Expected<Settings> settingsFrom(const Values& common);
// The values of a call, checked and brought into the form in which they are used.
Expected<Arguments> typedArguments(const Command& command, const Values& given);

}  // namespace zpweb
