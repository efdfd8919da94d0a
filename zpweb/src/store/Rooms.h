// The directories in which logs are packed, by their inodes. Where a log's owner can write, a name and an
// owner tell nothing: it may be another directory of root's that was moved there.
#pragma once

#include "store/State.h"
#include "sys/Descriptor.h"
#include "sys/Outcome.h"

namespace zpweb {

// Notes the directory, which is open, until it is forgotten, also for later runs.
Outcome noteRoom(const State& state, const Descriptor& room);
bool isRoom(const State& state, const Descriptor& room);
// One that could not be forgotten stays noted.
void forgetRoom(const State& state, const Descriptor& room);

}  // namespace zpweb
