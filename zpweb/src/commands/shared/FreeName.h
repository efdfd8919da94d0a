// Names that are free for a new site.
#pragma once

#include <string>
#include <string_view>

#include "change/Transaction.h"
#include "server/Configuration.h"

namespace zpweb {

// The place of the running block that answers to the name by its ServerName or by an alias, also one with
// wildcards; empty when there is none. A block of the site `except` does not count.
std::string holderOf(const Configuration& configuration, std::string_view name,
                     std::string_view except = "");
// The same, of a name that a change gives to a site. Whether a block with a wildcard answers before the
// site depends on their order: the server judges that, where it is asked, and such a block does not count
// then.
std::string takenBy(const Transaction& change, std::string_view name, std::string_view except = "");

}  // namespace zpweb
