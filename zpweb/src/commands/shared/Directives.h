// Single directives of the server or of a site.
#pragma once

#include <string>

#include "commands/shared/LineOperation.h"
#include "commands/table/Arguments.h"
#include "text/Scope.h"

namespace zpweb {

inline constexpr auto DirectiveName = needed("NAME", Kind::Word, "The directive");
inline constexpr auto DirectiveValue = needed("VALUE", Kind::Text, "Its value");
inline constexpr auto Quoted = flag("--quoted", "The value stands in quotes");

// The site that --site names; without it, the server's level of the main file.
Expected<Target> targetOf(const Configuration& configuration, const Arguments& given);
// The directive's line, as the call gives it.
std::string wholeLine(const Arguments& given);

using SiteCall = std::function<int(ApacheHelper&, const std::string& staged, const std::string& site)>;
// On the site that --site names: changes lines that begin with the directive, or adds a line only.
Outcome changeInSite(Transaction& change, const Arguments& given, const char* operation,
                     const SiteCall& call);
Outcome addInSite(Transaction& change, const Arguments& given, const char* operation, const SiteCall& call);

}  // namespace zpweb
