// Owners and modes as they were before a change gave a whole directory others, kept in its checkpoint.
#pragma once

#include <string>
#include <vector>

#include "host/Effect.h"
#include "sys/Outcome.h"

namespace zpweb {

// Writes down what the effects that reach below a directory are about to change. What is kept already
// stays: an interrupted run had begun to give.
Outcome keepAccess(const std::string& checkpoint, const std::vector<zp::host::Effect>& effects);

// Gives back what is kept, to the same files: what came into the place of one stays as it is.
Outcome restoreAccess(const std::string& checkpoint);

}  // namespace zpweb
