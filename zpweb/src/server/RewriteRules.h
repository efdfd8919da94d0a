// Requests that rewrite rules pass on to another server, by a reading. The server tries them before its
// ProxyPass lines, its aliases and its redirections.
#pragma once

#include <cstdint>
#include <string>

#include "server/Reading.h"

namespace zpweb {

// The rule ("[P]") that takes the requests for a path, of a block or of the server itself with None; null
// when none does. A condition that only a request can tell is taken for met.
const Directive* passedOnByRule(const Reading& reading, uint32_t block, const std::string& path);
// The rule of the block ("[F]", "[R=404]") that refuses each request for the path, whoever comes.
const Directive* refusedByRule(const Reading& reading, uint32_t block, const std::string& path);
// The rule of the block that leads each request for the path under the block's own name to another host.
const Directive* ledAwayByRule(const Reading& reading, uint32_t block, const std::string& path);

}  // namespace zpweb
