// The lock of one configuration: one change at a time.
#pragma once

#include <chrono>
#include <functional>
#include <string>

#include "store/State.h"
#include "sys/Descriptor.h"
#include "sys/Outcome.h"

namespace zpweb {

class Lock {
public:
    // Waits at most `timeout`; a longer wait is a Locked failure. `waiting` is told once, when it takes
    // long. The state folder is made for it.
    static Expected<Lock> take(const State& state, std::chrono::seconds timeout,
                               const std::function<void(const std::string&)>& waiting);

    // Another run is at work.
    static bool isHeld(const State& state);

    // The folder was made by this run.
    bool madeFolder() const { return madeFolder_; }
    // Removes lock file and folder: a run that is to leave nothing behind.
    void removeTraces(const State& state);

private:
    Descriptor file_;
    bool madeFolder_ = false;
};

}  // namespace zpweb
