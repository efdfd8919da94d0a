// What each command that changes something is asked to touch, and what must hold afterwards: see
// server/Judge.
#pragma once

#include "commands/table/Command.h"

namespace zpweb {

// Told to the change before the command runs.
void promise(Transaction& change, const Command& command, const Arguments& given);

}  // namespace zpweb
