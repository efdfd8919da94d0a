// The logs of sites, and where they may lie.
#pragma once

#include <string>

#include "change/Transaction.h"

namespace zpweb {

// "home" where the panel is installed, else "system".
std::string usualLogs();
// The directory of a site's logs outside of its home.
std::string systemLogs(const std::string& site);
// Makes it: root's, and readable by the group of the site's owner.
Outcome makeLogs(Transaction& change, const std::string& directory, const std::string& owner);

}  // namespace zpweb
