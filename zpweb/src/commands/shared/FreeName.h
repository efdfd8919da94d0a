// Names that are free for a new site.
#pragma once

#include <string>
#include <string_view>

#include "server/Configuration.h"

namespace zpweb {

// The place of the running block that answers to the name by its ServerName or by an alias, also one with
// wildcards; empty when there is none. A block of the site `except` does not count.
std::string holderOf(const Configuration& configuration, std::string_view name,
                     std::string_view except = "");

}  // namespace zpweb
