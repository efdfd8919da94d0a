// What each command that changes something is asked to touch, and what must hold afterwards: see
// server/Judge.
#pragma once

#include "commands/table/Command.h"

namespace zpweb {

// Before the command runs the change is told what it is asked to touch, and what must hold at its end. A
// later command of the same change may take back what an earlier one has promised of the site.
void promise(Transaction& change, const Command& command, const Arguments& given);

}  // namespace zpweb
