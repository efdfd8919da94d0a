// A log that is rotated: put aside at once, packed or deleted when the server has let go of it.
#pragma once

#include <string>
#include <vector>

#include "change/Transaction.h"

namespace zpweb {

// A failure for a log that is mostly holes: its owner may have made it of any length.
Outcome canBePacked(const std::string& log);
// In its own directory, as NAME-DAY-MONTH-YEAR-HOUR, with ".2" and so on behind it for another one of the
// hour. Nothing is replaced, and a link is not followed.
Expected<std::string> putAside(const std::string& log);
// Logs that were put aside before, and not packed since the server still wrote to them or the run was
// interrupted.
std::vector<std::string> leftAside(const State& state, const std::string& log);

// Packs it into access_log-DAY-MONTH-YEAR-HOUR.tar.gz of its directory, again with a name of its own, and
// removes it.
Outcome pack(Transaction& change, const std::string& site, const std::string& aside,
             const std::string& log);
Outcome discard(Transaction& change, const std::string& site, const std::string& aside);

}  // namespace zpweb
