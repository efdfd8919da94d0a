// The configuration as it stands between two changes.
#pragma once

#include <string>

#include "output/Output.h"
#include "server/Configuration.h"

namespace zpweb {

// Loads it for a command that only reads, and so takes no lock. One that was put in place meanwhile is
// loaded again, and one that is being put in place is waited for, two seconds at most: then, and where a
// change was broken off half-way, a warning says so.
Expected<Configuration> loadSettled(const std::string& main, Output& output);

}  // namespace zpweb
