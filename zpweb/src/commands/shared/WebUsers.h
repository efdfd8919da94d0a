// The web users of a site, or of one of its directories: the file that holds them, and the edit of it.
#pragma once

#include <functional>
#include <string>

#include "CZPUsers.h"
#include "change/Transaction.h"
#include "commands/table/Arguments.h"
#include "commands/table/Site.h"
#include "server/Reading.h"

namespace zpweb {

inline constexpr auto User = needed("USER", Kind::UserName, "The user's name");
inline constexpr auto OfDirectory =
    option("--folder", Kind::Path, "FOLDER", "The users of this directory instead of the site's");

struct WebUsers {
    std::string domain, directory;

    // Of a site, however its name is written.
    WebUsers(const std::string& ofSite, std::string ofDirectory)
        : domain(lowerCase(ofSite)), directory(std::move(ofDirectory)) {}
    Outcome named() const;  // the file carries the site's name
    std::string file() const;
    Outcome missing() const;
};
// Those that a command is about: of a site by its name, also where its block is named by its place.
Expected<WebUsers> usersAskedFor(const Configuration& configuration, const Arguments& given);
// The users of a site, without their passwords; none where there is no file.
std::vector<std::string> userNamesOf(const std::string& domain);
Outcome noSuchUser(const std::string& user);

// Lets the server's processes read a password file that is there or about to be made. Refused where it may
// hold passwords as they are, as the panel's do.
Outcome letServerRead(Transaction& change, const std::string& file);

// The file of a directory that is protected, which the server can read: an empty one where there is none.
Outcome provideUsers(Transaction& change, const WebUsers& users);

using UsersOperation = std::function<Outcome(CZPUsers&)>;
// On a file that is there, or is made for it.
Outcome onUsers(Transaction& change, const WebUsers& users, const UsersOperation& operation);
Outcome onNewUsers(Transaction& change, const WebUsers& users, const UsersOperation& operation);

}  // namespace zpweb
