// Changes that are taken back unless they are confirmed in time: a line each, in a file of the state
// directory, from before the change takes its place.
#pragma once

#include <chrono>
#include <ctime>
#include <vector>

#include "store/State.h"
#include "sys/Outcome.h"

namespace zpweb {

struct Unconfirmed {
    int checkpoint = 0;
    std::time_t deadline = 0;
    // As the change was made, so it is taken back.
    bool check = true, reload = true, allowLogLinks = false;

    // Never before its time, by whole seconds.
    bool isOverdue() const { return deadline < std::time(nullptr); }
};

// Those of this configuration that stand, oldest first. One whose change did not come about, or that is
// taken back, is none; one whose checkpoint cannot be read may stand.
Expected<std::vector<Unconfirmed>> unconfirmedOf(const State& state);
// The checkpoints that the file names, whether they stand or not.
Expected<std::vector<int>> checkpointsAwaited(const State& state);
// Under the lock.
Outcome addUnconfirmed(const State& state, const Unconfirmed& added);
Outcome removeUnconfirmed(const State& state, int checkpoint);

}  // namespace zpweb
