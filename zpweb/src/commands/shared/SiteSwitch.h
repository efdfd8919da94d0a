// Starting and stopping all blocks of a site.
#pragma once

#include <functional>

#include "change/Transaction.h"
#include "commands/shared/Operation.h"
#include "commands/table/Site.h"

namespace zpweb {

struct SiteSwitch {
    bool stop;
    std::function<int(const std::string& staged, const std::string& name)> operation;
    Meaning meaning;
};
Outcome switchSite(Transaction& change, const Site& site, const SiteSwitch& wanted);

}  // namespace zpweb
