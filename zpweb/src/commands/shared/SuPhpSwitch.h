// suPHP, for a site or the whole server.
#pragma once

#include <functional>
#include <string>

#include "CZPWebsite.h"
#include "Results.h"
#include "change/Transaction.h"
#include "commands/table/Parameter.h"
#include "commands/table/Site.h"
#include "text/Scope.h"

namespace zpweb {

inline constexpr auto AnySite = maybe("SITE", Kind::Site, "The site's name; without one, the whole server");
inline constexpr const char* SuPhpModule = "mod_suphp";
inline constexpr int SuPhpSwitched = zp::result::Changed;

struct SuPhpSwitch {
    bool on;
    const char* operation;
    std::function<int(CZPWebsite&, const std::string& site)> call;
};
Outcome switchSuPhp(Transaction& change, const Site& site, const SuPhpSwitch& wanted);

bool isSuPhpLine(std::string_view text);

// An edit of the server's own lines, which it must show in effect. A server without the module shows
// nothing of them; that is told.
Edit serverSuPhpEdit(Transaction& change, bool on);

}  // namespace zpweb
