// What state a site is in, by its blocks.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "server/Configuration.h"

namespace zpweb {

// "running", "stopped" or "suspended".
std::string_view stateOf(const Block& block);
// The same for all of a site's blocks; "partly" where some run and others do not.
std::string_view stateOf(const std::vector<Place>& places);

// Appends a block as JSON: its address, state and place.
void appendBlock(std::string& json, const Configuration& configuration, const Place& place);
// The words of its ServerAlias lines.
void addHostNames(const Block& block, std::vector<std::string>& names);

}  // namespace zpweb
