// The redirects of a site within a change.
#pragma once

#include <functional>
#include <string>

#include "change/Transaction.h"
#include "settings/Redirects.h"

namespace zpweb {

// As they are; none where there is no such setting.
RedirectSetting redirectsOf(const Transaction& change, const std::string& site);

// What takes a name from the site is refused where the site's visitors would go on being led to that name.
void expectCanonical(Transaction& change, const std::string& site);

// Gives the site other redirects; without any the setting goes. After the reload each is looked at on all
// listeners.
Outcome changeRedirects(Transaction& change, const std::string& site, bool overwrite,
                        const std::function<void(RedirectSetting&)>& edit);

}  // namespace zpweb
