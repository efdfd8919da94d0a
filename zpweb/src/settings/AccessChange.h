// Who may ask for a site's paths, within a change.
#pragma once

#include <string>

#include "change/Transaction.h"
#include "settings/Access.h"

namespace zpweb {

// After the reload, requests from several loopback addresses must be let through or turned away as asked.
Outcome setAccess(Transaction& change, const std::string& site, const AccessPath& path, bool overwrite);
Outcome removeAccess(Transaction& change, const std::string& site, const std::string& path, bool overwrite);

// Its user file is one that the server can read, and has the users; else the reason.
Outcome usersAreThere(const AccessPath& path, const std::string& serverUser);

}  // namespace zpweb
