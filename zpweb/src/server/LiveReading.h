// The reading of the configuration as it is live: the kept one, or else the server is asked.
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "server/Configuration.h"
#include "server/KeptReading.h"
#include "server/Reading.h"

namespace zpweb {

// What a reading of the configuration depends on, with the fingerprint of each file of it.
Basis basisOf(const Configuration& configuration,
              std::function<std::string(const std::string& path)> fingerprint);
// Of a file as the configuration has it, or else as it is on the disk; empty when there is none.
std::string fingerprintOf(const Configuration& configuration, const std::string& path);

// Null when the server refuses the configuration or cannot be asked. `readingFile` is where one is kept.
std::shared_ptr<const Reading> liveReading(const Configuration& configuration,
                                           const std::string& readingFile);

}  // namespace zpweb
