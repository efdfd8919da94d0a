// The home of a new site: the directory that the library makes the site's directories in.
#pragma once

#include <string>

#include "change/Transaction.h"

namespace zpweb {

// Makes the home where it is missing, for its owner, and announces what the library will make in it. What
// stands there already is refused, unless an undo has left it empty.
Outcome makeHome(Transaction& change, const std::string& home, const std::string& owner);

// Can the server's user pass every directory on the way to `home`? With `open`, those that it cannot are
// opened for that ("x" for others); without, this is refused with the way out.
Outcome makeReachable(Transaction& change, const std::string& home, bool open);

// The home directory of an account.
std::string homeOf(const std::string& account);

}  // namespace zpweb
