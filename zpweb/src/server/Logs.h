// The logs that a configuration names.
#pragma once

#include <string>
#include <vector>

#include "server/Configuration.h"

namespace zpweb {

struct NamedLog {
    std::string path;
    const ConfigurationFile* file;
    size_t line;
};
// The log files that the text names, in and outside of blocks, but for those that are named by a variable.
std::vector<NamedLog> namedLogs(const Configuration& configuration);

// Log files whose directory is missing, with the place where they are named: FILE:LINE: FOLDER.
std::vector<std::string> missingLogDirectories(const Configuration& configuration);

}  // namespace zpweb
