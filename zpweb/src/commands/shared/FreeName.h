// Names that are free for a new site.
#pragma once

#include <string>
#include <string_view>

#include "change/Transaction.h"

namespace zpweb {

// The place of the running block that answers to the name by its ServerName or by an alias; empty when
// there is none. A block of the site `except` does not count. Whether one with a wildcard answers before
// the site that is to get the name depends on their order: where the server is asked, which judges that, it
// does not count either.
std::string holderOf(const Transaction& change, std::string_view name, std::string_view except = "");

}  // namespace zpweb
