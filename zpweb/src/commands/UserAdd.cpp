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

// Does a line of the configuration name the file?
bool isAskedFor(const Configuration& configuration, const std::string& file) {
    return std::any_of(configuration.files().begin(), configuration.files().end(),
                       [&](const auto& each) { return zp::conf::contains(each->content().text(), file); });
}

Outcome add(Transaction& change, const Arguments& given) {
    const std::string user = given[User];
    const auto hash = passwordHash(given.secret());
    if (!hash.ok()) {
        return hash.outcome();
    }
    change.output().set("user", user);
    if (const std::string file = WebUsers(given).file(); !isAskedFor(change.configuration(), file)) {
        change.output().note("no directory asks for the users in " + file +
                             " yet: see \"vdir set --protect\"");
    }
    return onNewUsers(change, WebUsers(given), [&](CZPUsers& users) {
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
        .action = add,
        .parameters = {SiteName, User, OfDirectory},
        .operations = {"CZPUsers::UserCreate"},
        .examples = {"user add shop.example joe --password-file /root/joe"},
        .needsSecret = true,
    };
}

}  // namespace zpweb
