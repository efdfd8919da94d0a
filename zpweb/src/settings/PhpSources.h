// Scripts that nobody runs any more: a file for the whole server keeps visitors from reading them.
#pragma once

#include <functional>
#include <optional>
#include <set>
#include <string>

#include "change/Transaction.h"
#include "server/Reading.h"

namespace zpweb {

// A script below the directory, as its path from there ("/blog/index.php"); absent when there is none,
// empty when there may be one where nobody looks: behind a link, or beyond what can be read.
std::optional<std::string> someScript(const std::string& root);
// Where a line other than a setting's runs the site's scripts below the directory: FILE:LINE; empty when
// none does. What stands in blocks of other sites, in sections for other directories, or in conditions that
// are not met, does not.
using PlaceTest = std::function<bool(const Origin& place)>;
std::string otherPhp(const Configuration& configuration, const std::string& site, const std::string& root,
                     const PlaceTest& isRead);

void hideSources(Transaction& change, const std::string& site, const std::set<std::string>& roots);
void showSources(Transaction& change, const std::string& site);  // somebody runs them again

}  // namespace zpweb
