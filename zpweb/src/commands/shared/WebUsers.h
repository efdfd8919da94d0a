// The web users of a site, or of one of its directories: the file that holds them, and the edit of it.
#pragma once

#include <functional>
#include <string>

#include "CZPUsers.h"
#include "change/Transaction.h"
#include "commands/table/Arguments.h"

namespace zpweb {

inline constexpr auto User = needed("USER", Kind::UserName, "The user's name");
inline constexpr auto OfDirectory =
    option("--folder", Kind::Path, "FOLDER", "The users of this directory instead of the site's");

struct WebUsers {
    std::string domain, directory;

    explicit WebUsers(const Arguments& given)
        : domain(given[SiteName]), directory(given[OfDirectory].value_or("")) {}
    WebUsers(std::string ofSite, std::string ofDirectory)
        : domain(std::move(ofSite)), directory(std::move(ofDirectory)) {}
    Outcome named() const;  // the file carries the site's name
    std::string file() const;
    Outcome missing() const;
};
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
