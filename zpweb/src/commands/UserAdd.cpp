// user add: adds a web user.
#include <algorithm>

#include "Results.h"
#include "commands/Commands.h"
#include "commands/shared/Operation.h"
#include "commands/shared/WebUsers.h"
#include "conf/Text.h"
#include "input/Quoted.h"
#include "sys/PasswordHash.h"

namespace zpweb {

namespace {

constexpr char UserAdded = zp::result::user::Added;
constexpr char UserThere = zp::result::user::AlreadyThere;

// Does a line of the site's blocks, of what these include, or of the server's level name the file?
bool isAskedFor(const Configuration& configuration, const Site& site, const std::string& file) {
    std::vector<const ConfigurationFile*> lookedAt = configuration.serverParts();
    for (const Place& place : site.places) {
        lookedAt.push_back(place.file);
        for (const IncludeLine& include : place.file->server().includes) {
            for (const std::string& name : place.block->lines.holds(include.line)
                                               ? configuration.included(include.pattern)
                                               : std::vector<std::string>()) {
                lookedAt.push_back(configuration.file(name));
            }
        }
    }
    return std::any_of(lookedAt.begin(), lookedAt.end(), [&](const ConfigurationFile* each) {
        return each != nullptr && zp::conf::contains(each->content().text(), file);
    });
}

Outcome addUser(Transaction& change, const Arguments& given) {
    const std::string user = given[User];
    const auto hash = passwordHash(given.secret());
    if (!hash.ok()) {
        return hash.outcome();
    }
    const auto asked = usersAskedFor(change.configuration(), given);
    if (!asked.ok()) {
        return asked.outcome();
    }
    change.output().set("user", user);
    const Site site = knownSite(change.configuration(), asked->domain);
    if (const std::string file = asked->file(); !isAskedFor(change.configuration(), site, file)) {
        change.output().note(
            (site.places.empty() ? "there is no site " + inQuotes(asked->domain) + ", and " : "") +
            "no directory asks for the users in " + file + " yet: see \"vdir set --protect\"");
    }
    return onNewUsers(change, *asked, [&](CZPUsers& users) {
        const Meaning meaning = expecting("UserCreate", {UserAdded}, UserThere,
                                          existsAlready("user " + inQuotes(user) + ": exists already"));
        return meaning(users.UserCreate(user.c_str(), hash->c_str()));
    });
}

}  // namespace

Command userAdd() {
    return {
        .words = "user add",
        .summary = "Add a web user",
        .action = addUser,
        .parameters = {SiteName, User, OfDirectory},
        .operations = {"CZPUsers::UserCreate"},
        .examples = {"user add shop.example joe --password-file /root/joe"},
        .needsSecret = true,
    };
}

}  // namespace zpweb
