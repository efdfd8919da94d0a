// Requests that a block passes on to another server, by the ProxyPass and ProxyPassMatch lines and the
// rewrite rules of a reading: they come before its aliases, its redirections and its directories.
#pragma once

#include <cstdint>
#include <string>

#include "server/BlockPostconditions.h"

namespace zpweb {

// The line that takes the requests for a path; null when the block answers them itself.
const Directive* passedOn(const Reading& reading, uint32_t block, const std::string& path);

// Every block answers the requests for the path by itself. `wayOut` tells what to do else.
Postcondition answersItself(const BlocksOf& blocks, const std::string& path, const std::string& wayOut);
// Where a block passes them on, it is by a line of this file.
Postcondition passedOnBy(const BlocksOf& blocks, const std::string& path, const std::string& file);

// Not every block leads the requests for the path to another host by a rewrite rule.
Postcondition isNotLedAway(const BlocksOf& blocks, const std::string& path, const std::string& wayOut);

// No line of a block refuses the requests for the path before anybody is asked who he is.
Postcondition asksVisitors(const BlocksOf& blocks, const std::string& path);

// "\"ProxyPass / http://127.0.0.1:3000/\" at FILE:LINE takes the requests for PATH"
std::string takenBy(const Reading& reading, const Directive& pass, const std::string& path);

}  // namespace zpweb
