// Directories behind a password, by their .htaccess and .htpasswd.
#pragma once

#include <string>

#include "change/Transaction.h"
#include "commands/table/Parameter.h"

namespace zpweb {

inline constexpr auto ProtectedDirectory = needed("DIRECTORY", Kind::Path, "The protected directory");
inline constexpr auto ProtectedUser = needed("USER", Kind::UserName, "The user's name");

// NotFound when the directory's password file does not have the user.
Outcome needsUser(const Transaction& change, const std::string& directory, const std::string& user);
// The library runs "htpasswd" and does not look at what it answers.
Outcome needsTool();

Outcome protectFor(Transaction& change, const std::string& directory, const std::string& user,
                   const std::string& secret);
Outcome changePasswordFor(Transaction& change, const std::string& directory, const std::string& user,
                          const std::string& secret);
Outcome unprotectFor(Transaction& change, const std::string& directory, const std::string& user);

}  // namespace zpweb
