// The proxied paths of a site within a change.
#pragma once

#include <string>

#include "change/Transaction.h"
#include "settings/Proxies.h"

namespace zpweb {

// Where the application answered before, it must answer through the server after the reload. One that does
// not run is told, and no reason to refuse.
Outcome setProxy(Transaction& change, const std::string& site, const ProxyPath& path, bool overwrite);
Outcome removeProxy(Transaction& change, const std::string& site, const std::string& path, bool overwrite);

}  // namespace zpweb
