// Where a long file of the configuration is taken apart.
#pragma once

#include <cstddef>
#include <vector>

#include "server/Configuration.h"

namespace zpweb {

inline constexpr size_t PartSize = size_t{8} * 1024;

// The offsets behind closed blocks, or behind the sections around them, at least one part's size from each
// other, and never between two blocks of one site. Where blank lines stand between blocks, only before one:
// a deletion takes one of them along, and sees no further than its part.
std::vector<size_t> cutsOf(const ConfigurationFile& file);
// The text, cut there.
std::vector<Content> piecesOf(const Content& content, const std::vector<size_t>& cuts);

}  // namespace zpweb
