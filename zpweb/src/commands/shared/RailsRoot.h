// The document root of a site that a Rails application serves: PARENT/APPLICATION/public.
#pragma once

#include <string>

#include "change/Transaction.h"
#include "commands/table/Arguments.h"
#include "commands/table/Site.h"

namespace zpweb {

inline constexpr auto Application = needed("APPLICATION", Kind::Word, "The application's directory name");

// The end of such a root; a usage failure when the application is no name of a directory.
Expected<std::string> railsEnd(const std::string& application);
// An edit of the sections of the root, and of the DocumentRoot line.
Edit railsEdit(const Site& site, const std::string& root);

}  // namespace zpweb
