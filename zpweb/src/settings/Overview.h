// All settings of a site on one screen.
#pragma once

#include <string>

#include "output/Output.h"
#include "server/Configuration.h"

namespace zpweb {

// Sets "listeners", "certificate", "certificate_days", "php", "applications", "access", "redirects", "logs"
// and "log_policy", each with where it stands; what is not set is absent.
void showSettings(Output& output, const Configuration& configuration, const std::string& site);

}  // namespace zpweb
