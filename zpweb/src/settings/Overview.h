// All settings of a site on one screen.
#pragma once

#include <string>

#include "change/Configuration.h"
#include "output/Output.h"

namespace zpweb {

// Sets "certificate", "certificate_days", "php", "applications", "access", "redirects" and "logs", each
// with where it stands; what is not set is absent.
void showSettings(Output& output, const Configuration& configuration, const std::string& site);

}  // namespace zpweb
