// PHP of a site within a change.
#pragma once

#include <string>

#include "change/Transaction.h"
#include "settings/Php.h"

namespace zpweb {

// The pool must accept connections now; after the reload a probe script must run in the site's document
// root, where it is made and removed again.
Outcome setPhp(Transaction& change, const std::string& site, PhpSetting setting, bool overwrite);
// Scripts that are left in the document root would be shown as text: then they are kept from visitors.
Outcome dropPhp(Transaction& change, const std::string& site, bool overwrite);

}  // namespace zpweb
