// Check: the server reads the very files that are then put in place, before any of them is.
#pragma once

#include <map>
#include <string>

#include "phases/StagedFile.h"
#include "server/Configuration.h"
#include "sys/Outcome.h"

namespace zpweb {

// The configuration as the server can read it while it is staged.
struct StagedConfiguration {
    std::string main;                              // the file to start from
    std::map<std::string, std::string> liveNames;  // of every file that stands for another
};

// Where an included file changes, or is new, or goes, the files that lead to it are copied into `stage`
// with their Include lines pointing at what is staged. A line of a copy has the number of the line that it
// stands for.
Expected<StagedConfiguration> stagedConfiguration(const Configuration& configuration,
                                                  const std::map<std::string, StagedFile>& files,
                                                  const std::string& stage);

// The server's words with the live files' names and, where it names a line, the site that the line is in.
std::string described(const std::string& serverOutput, const StagedConfiguration& staged,
                      const Configuration& configuration);

}  // namespace zpweb
