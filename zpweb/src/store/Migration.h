// The state of earlier versions, which stood beside the configuration.
#pragma once

#include "store/State.h"
#include "sys/Outcome.h"

namespace zpweb {

// Brings log, checkpoints and journal to where they are kept now, under this state's lock. Refused while a
// run of an earlier version is at work there.
Outcome moveFromBefore(const State& state);

}  // namespace zpweb
