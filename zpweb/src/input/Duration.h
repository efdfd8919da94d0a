// Durations and sizes with a unit.
#pragma once

#include <string>

#include "sys/Outcome.h"

namespace zpweb {

// In seconds: "90", "90s", "10m", "12h", "14d", "2w", "1y".
Expected<long> secondsOf(const std::string& value);
// As logrotate takes it: a number, perhaps with k, M or G.
Expected<std::string> typedSize(const std::string& value);

}  // namespace zpweb
