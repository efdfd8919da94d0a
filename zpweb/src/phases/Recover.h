// Recover: what an interrupted run has left is undone or finished by the next one (see store/Journal.h).
#pragma once

#include "output/Output.h"
#include "store/State.h"
#include "sys/Outcome.h"

namespace zpweb {

// Under the lock. A dry run changes nothing, and is refused while there is something to clear up.
Outcome recover(const State& state, Output& output, bool dryRun);

}  // namespace zpweb
