// The logs that a configuration names.
#pragma once

#include <string>
#include <vector>

#include "server/Configuration.h"

namespace zpweb {

// Log files whose folder is missing, with the place where they are named: FILE:LINE: FOLDER.
std::vector<std::string> missingLogFolders(const Configuration& configuration);

}  // namespace zpweb
