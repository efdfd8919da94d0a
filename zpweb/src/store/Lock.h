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
    // How somebody waits.
    struct Wait {
        std::chrono::seconds timeout;                  // a longer wait is a Locked failure
        std::function<void(const std::string&)> tell;  // once, when it takes long
        std::function<void()> begins = [] {};          // once, when another run has the lock
        // The time is over; false: something of ours is under way, and its end is waited for.
        std::function<bool()> givesUp = [] { return true; };
    };

    // The state directory is made for it.
    static Expected<Lock> take(const State& state, const Wait& wait);

    // Another run is at work.
    static bool isHeld(const State& state);

    // The directory was made by this run.
    bool madeDirectory() const { return madeDirectory_; }
    // Removes lock file and directory: a run that is to leave nothing behind.
    void removeTraces(const State& state);

private:
    Descriptor file_;
    bool madeDirectory_ = false;
};

}  // namespace zpweb
