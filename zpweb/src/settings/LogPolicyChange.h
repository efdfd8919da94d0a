// How long the logs of sites are kept, within a change.
#pragma once

#include <functional>
#include <string>

#include "change/Transaction.h"
#include "settings/LogPolicy.h"

namespace zpweb {

// As this change has made them so far.
const PolicyList& policiesIn(Transaction& change);
// Gives the sites other policies; the file goes with the last of them.
Outcome changePolicies(Transaction& change, const std::function<Outcome(PolicyList&)>& edit);
// Of a site that goes, or has another name now (empty: it goes).
Outcome movePolicy(Transaction& change, const std::string& site, const std::string& renamed);

}  // namespace zpweb
