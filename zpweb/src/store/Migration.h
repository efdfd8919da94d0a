// The state of earlier versions, which stood beside the configuration.
#pragma once

#include "output/Output.h"
#include "store/State.h"
#include "sys/Outcome.h"

namespace zpweb {

// Closes the directory to others, and brings log, checkpoints and journal to where they are kept now, under
// this state's lock. Refused while a run of an earlier version is at work there. Where both places have a
// state the earlier one stays, and it is told.
Outcome moveFromBefore(const State& state, Output& output);

}  // namespace zpweb
