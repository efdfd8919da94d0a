// Scripts that nobody runs any more: a file for the whole server keeps visitors from reading them.
#pragma once

#include <set>
#include <string>

#include "change/Transaction.h"

namespace zpweb {

// A script below the directory, as its path from there ("/blog/index.php"); empty when there is none.
std::string someScript(const std::string& root);
// Does anything but a site's setting run PHP on this server?
bool runsPhpOtherwise(const Configuration& configuration);

Outcome hideSources(Transaction& change, const std::string& site, const std::set<std::string>& roots);
Outcome showSources(Transaction& change, const std::string& site);  // somebody runs them again

}  // namespace zpweb
