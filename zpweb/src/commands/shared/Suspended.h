// The file that a suspended site's blocks include.
#pragma once

#include <string>

#include "change/Transaction.h"
#include "commands/table/Site.h"
#include "text/Statements.h"

namespace zpweb {

// zpweb.d/SITE/suspended.conf beside the main file.
std::string suspensionFile(const Transaction& change, const Site& site);
Outcome writeSuspension(Transaction& change, const std::string& file, const std::string& site,
                        const std::string& directives);
bool includesSuspension(const Statement& statement);

}  // namespace zpweb
