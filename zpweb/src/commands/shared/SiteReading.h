// The sites of a configuration as documents tell them.
#pragma once

#include <vector>

#include "commands/table/Site.h"
#include "desired/SiteState.h"
#include "output/Output.h"

namespace zpweb {

// All sites that have a name, in the order of their first blocks.
std::vector<Site> sitesOf(const Configuration& configuration);

// The name under which documents tell a site: in ASCII and lower case.
std::string documentName(const Site& site);

// "running", "stopped" or "suspended".
const char* stateOf(const Site& site);

// What holds for a site now.
Expected<SiteState> readSite(Output& output, const Site& site);

// The sites whose files the server does not read, as they would be.
Expected<std::vector<SiteState>> readDisabled(Output& output, const Configuration& configuration);

}  // namespace zpweb
