// The words that the program was called with.
#pragma once

#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "cli/Documents.h"
#include "commands/table/Table.h"

namespace zpweb {

struct CommandLine {
    // One of the three is there.
    const Command* command = nullptr;
    const Document* document = nullptr;
    std::optional<std::string> help;  // about these words of a command
    GivenWords common, given;  // the options that every command has, and the command's own parameters
};

// Fills the line. A number is the exit status of a run that ends here: help and version, which go to `out`,
// or a usage failure.
std::optional<int> parse(CommandLine& line, int argc, char** argv, std::ostream& out);

Expected<Settings> settingsFrom(const GivenWords& common);

}  // namespace zpweb
