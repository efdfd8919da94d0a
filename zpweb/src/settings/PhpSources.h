// Scripts that nobody runs any more: a file for the whole server keeps visitors from reading them.
#pragma once

#include <set>
#include <string>

#include "change/Transaction.h"

namespace zpweb {

// A script below the directory, as its path from there ("/blog/index.php"); empty when there is none.
std::string someScript(const std::string& root);
// Where a line other than a setting's runs the site's scripts below the directory: FILE:LINE; empty when
// none does. What stands in blocks of other sites, or in sections for other directories, does not.
std::string otherPhp(const Configuration& configuration, const std::string& site, const std::string& root);

Outcome hideSources(Transaction& change, const std::string& site, const std::set<std::string>& roots);
Outcome showSources(Transaction& change, const std::string& site);  // somebody runs them again

}  // namespace zpweb
