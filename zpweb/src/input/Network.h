// Addresses and networks.
#pragma once

#include <string>

#include "sys/Outcome.h"

namespace zpweb {

// "192.0.2.7", "192.0.2.0/24", "2001:db8::/32" or "all".
Expected<std::string> typedNetwork(const std::string& value);
// Does the network, or the one address, hold the address? Not across families.
bool holdsAddress(const std::string& network, const std::string& address);

}  // namespace zpweb
