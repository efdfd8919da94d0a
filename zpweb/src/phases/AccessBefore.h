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

// What is kept; empty when there is nothing.
Expected<std::string> keptAccess(const std::string& checkpoint);
// Gives it back, to the same files, as long as they are theirs that the effects gave them to: what came
// into the place of one, or has become somebody else's since, stays as it is.
Outcome restoreAccess(const std::string& kept, const std::vector<zp::host::Effect>& effects);

}  // namespace zpweb
