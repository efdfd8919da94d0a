// Modules of the server.
#pragma once

#include <optional>
#include <set>
#include <string>

#include "commands/table/Parameter.h"
#include "output/Output.h"
#include "server/Configuration.h"

namespace zpweb {

inline constexpr auto Module = needed("MODULE", Kind::Word, "Its name, such as \"rewrite\"");

// The library looks into one file; the server loads its modules from all of its files.
bool isLoaded(const Configuration& configuration, const std::string& name, Output& output);

// Those that the server has, built in or loaded ("rewrite_module"), whatever condition or link brings them
// about; absent when it cannot be asked.
std::optional<std::set<std::string>> loadedModules(const Configuration& configuration);
// The line, FILE:LINE, of the block that asks for the module by its other name ("rewrite_module" in place
// of "mod_rewrite.c"), which the library does not know; empty when there is none.
std::string otherwiseNamed(const Place& place, const std::string& name);
// Where the module is loaded, FILE:LINE; empty when no line does.
std::string placeOfModule(const Configuration& configuration, const std::string& name);

}  // namespace zpweb
