// Calls that went wrong while this lives, wherever in the program or in the library. What was made of them
// counts for nothing: a file that could not be read is not a file that is missing.
#pragma once

#include <memory>
#include <string>

#include "host/Machine.h"
#include "sys/Outcome.h"

namespace zpweb {

class Faults {
public:
    Faults();

    Outcome first() const;  // done when there was none

private:
    struct Noted;
    std::shared_ptr<Noted> noted_;
    zp::host::MachineInUse inUse_;
};

}  // namespace zpweb
