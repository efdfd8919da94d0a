// Stage: an operation of the library runs on a copy, and nothing of what it does leaves the stage. What it
// would do elsewhere is written down.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "host/Effect.h"
#include "sys/Outcome.h"

namespace zpweb {

struct StagedRun {
    std::vector<zp::host::Effect> effects;  // what it does elsewhere, in its order
    std::string printed;
};

// Runs the operation with a machine of its own, whose files are those in the directory `work`. An operation
// that throws, or that could not move a file into its place, has failed.
Outcome runStaged(const std::string& work, const std::function<Outcome()>& operation, StagedRun& run);

// The directory with nothing in it.
Outcome emptyDirectory(const std::string& path);

}  // namespace zpweb
