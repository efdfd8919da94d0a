// Which texts say something at the server's level.
#pragma once

#include <cstddef>

#include "server/Configuration.h"

namespace zpweb {

// Does a line between two places of the file, none of which is within a block, say something outside of the
// blocks? Where a condition begins and ends says nothing by itself.
bool speaksAtServer(const ConfigurationFile& file, size_t from, size_t to);

}  // namespace zpweb
