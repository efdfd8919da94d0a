// user passwd: gives a web user another password.
#include "Results.h"
#include "commands/Commands.h"
#include "commands/shared/Operation.h"
#include "commands/shared/WebUsers.h"
#include "sys/PasswordHash.h"

namespace zpweb {

namespace {

constexpr char PasswordChanged = zp::result::user::PasswordChanged;
constexpr char NoSuchUser = zp::result::user::NotFound;

Outcome changePassword(Transaction& change, const Arguments& given) {
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
    return onUsers(change, *asked, [&](CZPUsers& users) {
        const Meaning meaning = expecting("ChangePasswd", {PasswordChanged}, NoSuchUser, noSuchUser(user));
        return meaning(users.ChangePasswd(user, *hash));
    });
}

}  // namespace

Command userPasswd() {
    return {
        .words = "user passwd",
        .summary = "Change a web user's password",
        .action = changePassword,
        .parameters = {SiteName, User, OfDirectory},
        .operations = {"CZPUsers::ChangePasswd"},
        .examples = {"user passwd shop.example joe"},
        .needsSecret = true,
    };
}

}  // namespace zpweb
