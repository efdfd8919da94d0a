// Names that led to a site until a change gave them to another's block, a line each, the newest first:
// "SITE NAME LISTENER". What takes that change back, such as "site start" after "site stop", may have them
// again without a word. It is true of the past, whatever becomes of the change that notes it.
#pragma once

#include <set>

#include "server/Judge.h"
#include "store/State.h"
#include "sys/Outcome.h"

namespace zpweb {

// Where the file cannot be read, none.
std::set<Led> releasedNames(const State& state);
// The oldest go once there are too many.
Outcome noteReleased(const State& state, const std::set<Led>& names);

}  // namespace zpweb
