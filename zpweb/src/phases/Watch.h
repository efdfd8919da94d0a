// Watch: who takes a change back when nobody confirms it, whatever becomes of the caller.
#pragma once

#include <chrono>
#include <string>

#include "sys/Outcome.h"

namespace zpweb {

// Leaves it to a timer of systemd's where that runs, else to a process of this program's own. Neither
// outlives the machine: after a start the next command takes back what is overdue.
Outcome watchFor(const std::string& configuration, std::chrono::seconds within);

}  // namespace zpweb
