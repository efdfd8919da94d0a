// The folders of a website.
#pragma once

#include <string>

#include "host/Accounts.h"

namespace zp::host {

// Makes www, www/html, www/cgi-bin, log, log/httpd, db and special below `home`, each only after the one
// before. The log folders go to the account named `administrator` and the panel's group, the others to
// `owner`. False at the first folder that cannot be made, or stands there already; the earlier ones stay.
[[nodiscard]] bool makeSiteFolders(const std::string& home, const Account& owner,
                                   const std::string& administrator);

}  // namespace zp::host
