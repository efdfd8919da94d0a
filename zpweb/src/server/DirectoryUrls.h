// By which paths of a site a directory of the disk is asked for.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "server/Reading.h"

namespace zpweb {

// By aliases of the block and of the server's level, and below the document root; without a slash at the
// end ("" is "/"). A pattern counts as what it begins with.
std::vector<std::string> urlsOf(const Reading& reading, uint32_t block, const std::string& directory);
// The blocks, and the server's level (Directive::None), in which it is so reached.
std::vector<uint32_t> servedBy(const Reading& reading, const std::string& directory);

}  // namespace zpweb
