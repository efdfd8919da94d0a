// Certificates that others than root can exchange: the server reads them as it reloads, and ends, for all
// sites, where it cannot.
#pragma once

#include "server/Reading.h"
#include "sys/Outcome.h"

namespace zpweb {

// Refused when such a one, or its key, cannot be read, or they do not belong together. The server's own
// check looks at neither.
Outcome othersCertificatesAreSound(const Reading& reading);

}  // namespace zpweb
