// Modules of the server.
#pragma once

#include <string>

#include "commands/table/Parameter.h"
#include "output/Output.h"
#include "server/Configuration.h"

namespace zpweb {

inline constexpr auto Module = needed("MODULE", Kind::Word, "Its name, such as \"rewrite\"");

// The library looks into one file; the server loads its modules from all of its files.
bool isLoaded(const Configuration& configuration, const std::string& name, Output& output);

}  // namespace zpweb
