// user delete: deletes a web user, or all of them.
#include <algorithm>

#include "Results.h"
#include "commands/Commands.h"
#include "commands/shared/Operation.h"
#include "commands/shared/WebUsers.h"

namespace zpweb {

namespace {

constexpr auto AnyUser = maybe("USER", Kind::UserName, "The user's name");
constexpr auto All = flag("--all", "Delete all of them, and their file");

constexpr char UserGone = zp::result::user::Deleted;
constexpr char AllGone = zp::result::user::AllDeleted;

Outcome removeOne(CZPUsers& users, const std::string& user) {
    StringVector names;
    static_cast<void>(users.UserExist(&names));
    return std::find(names.begin(), names.end(), user) == names.end()
               ? noSuchUser(user)
               : resultOf("UserDelete", users.UserDelete(user.c_str()), {UserGone});
}

Outcome deleteUser(Transaction& change, const Arguments& given) {
    const auto user = given[AnyUser];
    if (given[All] == user.has_value()) {
        return failure(Status::Usage, "user delete: expected a USER, or --all");
    }
    const auto asked = usersAskedFor(change.configuration(), given);
    if (!asked.ok()) {
        return goneIsUpToDate(asked.outcome());
    }
    return goneIsUpToDate(onUsers(change, *asked, [&](CZPUsers& users) {
        return user ? removeOne(users, *user) : resultOf("UserDeleteAll", users.UserDeleteAll(), {AllGone});
    }));
}

}  // namespace

Command userDelete() {
    return {
        .words = "user delete",
        .summary = "Delete a web user",
        .action = deleteUser,
        .parameters = {SiteName, AnyUser, OfDirectory, All},
        .operations = {"CZPUsers::UserDelete", "CZPUsers::UserDeleteAll", "CZPUsers::UserExist"},
        .examples = {"user delete shop.example joe", "user delete shop.example --all"},
    };
}

}  // namespace zpweb
