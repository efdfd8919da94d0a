// Operations that work by single lines of a site's block, or of the server's level.
#pragma once

#include <functional>
#include <string>

#include "ApacheHelper.h"
#include "change/Transaction.h"

namespace zpweb {

// A file, and a site in it; without a site, the server's level.
struct Target {
    std::string file, site;
};

// One such operation. A result of 0 is good.
struct LineOperation {
    std::string name;
    size_t bound;
    std::function<Scope(const ConfigurationFile&)> scope;
    std::function<int(ApacheHelper&, const std::string& staged)> call;
};
Outcome runOn(Transaction& change, const Target& target, const LineOperation& operation);

}  // namespace zpweb
