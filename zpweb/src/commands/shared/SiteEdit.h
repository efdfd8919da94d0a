// Operations on all blocks of a site.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "change/Transaction.h"
#include "commands/table/Site.h"

namespace zpweb {

// Does the edit in each file that holds blocks of the site; the edit's own file is not looked at.
Outcome editAll(Transaction& change, const Site& site, Edit edit);

// Which blocks of the site are stopped, in what an operation has made of its part.
std::vector<bool> stoppedBlocks(std::string_view made, const std::string& name);

}  // namespace zpweb
