// Changes that were to be confirmed, and were not in time.
#pragma once

#include <vector>

#include "commands/table/Command.h"

namespace zpweb {

// Takes them back, newest first, each as a change of its own; tells which. What cannot be taken back is a
// warning, and waits for a confirmation of its number or for an undo by hand.
std::vector<int> takeBackOverdue(Session& session);

}  // namespace zpweb
