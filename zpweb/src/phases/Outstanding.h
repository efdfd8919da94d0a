// What a change does once it is certain: owners and modes, directories that go, checkpoints that it took
// back. All of it stands in the journal, and doing it twice is as good as once.
#pragma once

#include "output/Output.h"
#include "store/Journal.h"
#include "store/State.h"

namespace zpweb {

// What could not be done is told as warnings. Owners and modes that could not be given are no failure.
Outcome doOutstanding(const State& state, const Journal& journal, Output& output);

}  // namespace zpweb
