// Modules and sockets that settings need, provided in the way of the distribution.
#pragma once

#include <string>
#include <vector>

#include "change/Transaction.h"

namespace zpweb {

// Loads the modules ("ssl") that are not loaded, and those that they depend on: by links in mods-enabled
// where the server has such a directory, by a line in conf.modules.d, or else by a line beside the other
// LoadModule lines. A module that is not installed is an error that tells how to come by it.
Outcome requireModules(Transaction& change, const std::vector<std::string>& names);
bool isModuleLoaded(const Configuration& configuration, const std::string& name);

// Makes the server listen on the port, unless it does: beside the line that makes it listen on `beside`, at
// the same address. With an address ("*": any), requests to that must come in.
Outcome requireListen(Transaction& change, int port, int beside, const std::string& address = "*");

}  // namespace zpweb
