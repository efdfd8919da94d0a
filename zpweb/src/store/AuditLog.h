// The log of changes: a line of JSON each.
#pragma once

#include <string>

#include "store/Journal.h"
#include "store/State.h"

namespace zpweb {

// Who has become the user that runs this; empty when that is not known.
std::string loginName();

// Who did what, and what came of it. `inPlace`: the files are as the change made them.
Outcome record(const State& state, const Journal& journal, const Outcome& result, bool inPlace);

}  // namespace zpweb
