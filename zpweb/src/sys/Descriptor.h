// An open file descriptor that is closed with its owner.
#pragma once

#include "host/Descriptor.h"

namespace zpweb {

using zp::host::Descriptor;

}  // namespace zpweb
