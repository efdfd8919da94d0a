// What the Options lines of a reading switch on and off for a directory of the disk.
#pragma once

#include <string>
#include <vector>

#include "server/BlockPostconditions.h"

namespace zpweb {

// The options of the directory's section are switched like this: "+Indexes", "-ExecCGI".
Postcondition hasOptions(const BlocksOf& blocks, const std::string& directory,
                         const std::vector<std::string>& switches);
// An Options line of each block ("-Indexes", "None") holds for its document root: no section for that, or
// for a directory above it, has the last word.
Postcondition optionsHoldAtRoot(const BlocksOf& blocks, const std::string& value);

}  // namespace zpweb
