// A site's handler line for Perl and CGI scripts.
#pragma once

#include <functional>
#include <string>

#include "CZPWebsite.h"
#include "change/Transaction.h"
#include "commands/table/Arguments.h"
#include "commands/table/Site.h"

namespace zpweb {

struct PerlSwitch {
    bool on;
    const char* operation;
    std::function<int(CZPWebsite&, const std::string& site)> call;
};
Outcome switchPerl(Transaction& change, const Site& site, const Arguments& given, const PerlSwitch& wanted);

}  // namespace zpweb
