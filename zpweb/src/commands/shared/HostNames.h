// The further names of a site, in its ServerAlias lines.
#pragma once

#include <string>
#include <vector>

#include "change/Transaction.h"
#include "commands/table/Parameter.h"
#include "commands/table/Site.h"

namespace zpweb {

inline constexpr auto Host = needed("HOST", Kind::HostName, "A further name of the site");

// Results of the operations on host names.
inline constexpr int HostChanged = 0;
inline constexpr int NoAliasLine = 1;

// The names as the library reads them.
std::vector<std::string> hostNamesOf(Output& output, const Site& site);

// An edit of the site's ServerAlias lines.
Edit hostNameEdit(const Site& site);

}  // namespace zpweb
