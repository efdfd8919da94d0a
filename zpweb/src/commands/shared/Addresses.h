// Moving a site between an address of its own and one that sites share by name.
#pragma once

#include <functional>
#include <string>

#include "CZPWebsite.h"
#include "change/Transaction.h"
#include "commands/table/Arguments.h"
#include "commands/table/Site.h"

namespace zpweb {

inline constexpr auto NewAddress =
    option("--address", Kind::Address, "IP", "The new address (default: the one that it has)");

struct AddressMove {
    const char* operation;
    int moved;  // its result when it is done
    std::function<int(CZPWebsite&, const std::string& from, const std::string& to, const std::string& site)>
        call;
};
Outcome moveAddress(Transaction& change, const Site& site, const Arguments& given, const AddressMove& move);

}  // namespace zpweb
