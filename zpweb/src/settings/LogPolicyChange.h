// How long the logs of sites are kept, within a change.
#pragma once

#include <functional>
#include <string>

#include "change/Transaction.h"
#include "settings/LogPolicy.h"

namespace zpweb {

// Gives the sites other policies; the file goes with the last of them.
Outcome changePolicies(Transaction& change, const std::function<Outcome(LogPolicies&)>& edit);
// Of a site that goes, or has another name now (empty: it goes).
Outcome movePolicy(Transaction& change, const std::string& site, const std::string& renamed);

}  // namespace zpweb
