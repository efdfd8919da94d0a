// The catch-all: a first site on each address, which answers for names that no site has.
#pragma once

#include <string>

#include "change/Transaction.h"

namespace zpweb {

// Answers 421, with the page of a file where one is given. After the reload a name that nobody has is asked
// for on each listener.
Outcome setCatchAll(Transaction& change, const std::string& page);
Outcome dropCatchAll(Transaction& change);

}  // namespace zpweb
