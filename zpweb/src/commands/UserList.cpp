// user list: a site's web users.
#include "Results.h"
#include "commands/Commands.h"
#include "commands/shared/Operation.h"
#include "commands/shared/WebUsers.h"
#include "sys/File.h"

namespace zpweb {

namespace {

constexpr char UsersListed = zp::result::user::Listed;
constexpr char NamesListed = zp::result::user::NamesListed;

Outcome listUsers(Session& session, const Configuration& configuration, const Arguments& given) {
    const auto users = usersAskedFor(configuration, given);
    if (!users.ok() || !exists(users->file())) {
        return users.ok() ? users->missing() : users.outcome();
    }
    CZPUsers manager(nullptr, "", users->domain.c_str(), users->directory.c_str());
    StringVector names;
    const int result = quietly(session.output, [&] { return manager.UserList(&names); });
    List& rows = session.output.list("users", {"user"});
    for (const std::string& name : names) {
        rows.row().add("user", name);
    }
    return resultOf("UserList", result, {UsersListed, NamesListed});
}

}  // namespace

Command userList() {
    return {
        .words = "user list",
        .summary = "List the web users",
        .action = listUsers,
        .parameters = {SiteName, OfDirectory},
        .operations = {"CZPUsers::UserList"},
        .examples = {"user list shop.example"},
    };
}

}  // namespace zpweb
