// Certificates that the server reads anew as it reloads: it ends, for all sites, where it cannot.
#pragma once

#include <string>

#include "server/Reading.h"
#include "sys/Outcome.h"

namespace zpweb {

// Refused when one of them, or its key, cannot be read, or they do not belong together. The server's own
// check looks at neither. Only those are looked at that may have become other ones since the server has
// read them: changed after it has written its PID file, or on a way that others than root can exchange.
Outcome certificatesAreSound(const Reading& reading, const std::string& pidFile);

}  // namespace zpweb
