// "Satisfy Any": whom its lines about hosts let in is asked for nothing else, whatever is required
// (mod_access_compat).
#pragma once

#include <string>

#include "server/BlockPostconditions.h"

namespace zpweb {

// Where a block answers the path from its document root, no "Satisfy Any" lets everybody in by lines about
// hosts.
Postcondition asksBesideHosts(const BlocksOf& blocks, const std::string& path);

}  // namespace zpweb
