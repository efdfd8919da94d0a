// Lines of a site that lead from a path to something, in the form in which the library reads them.
#pragma once

#include <string>

#include "text/Statements.h"

namespace zpweb {

// Permanent and temporary ones have a name of their own, or a status before the path.
bool isRedirect(const Statement& statement);
size_t statusWords(const Statement& statement);
std::string redirectForm(const Statement& statement);

// "Alias /x /srv/x": the path in quotes.
std::string pairForm(const Statement& statement);

}  // namespace zpweb
