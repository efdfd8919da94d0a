// The blocks of a site.
#pragma once

#include <string>
#include <vector>

#include "cli/Command.h"

namespace zpweb {

// NotFound when there is none.
Expected<Places> findSite(const Configuration& configuration, const std::string& name);
// The first of them that is running; an error when the site is stopped.
Expected<Place> findRunning(const Configuration& configuration, const std::string& name);
// The files that hold them, each once.
std::vector<std::string> filesOf(const Places& places);

}  // namespace zpweb
