// protect edit: changes a user's password, or moves the user to another directory.
#include "commands/Commands.h"
#include "commands/shared/Protection.h"

namespace zpweb {

namespace {

constexpr auto Target = option("--to", Kind::Path, "DIRECTORY", "The other directory");

// Between two directories the two steps of the operation are done one by one, each on a stage of its own
// directory.
Outcome moveUser(Transaction& change, const std::string& from, const std::string& to,
                 const std::string& user, const std::string& secret) {
    Outcome removed = unprotectFor(change, from, user);
    return removed.ok() ? protectFor(change, to, user, secret) : removed;
}

Outcome edit(Transaction& change, const Arguments& given) {
    const std::string directory = given[ProtectedDirectory];
    const std::string target = given[Target].value_or(directory);
    const std::string user = given[ProtectedUser];
    Outcome ready = needsTool();
    ready = ready.ok() ? needsUser(change, directory, user) : ready;
    if (!ready.ok()) {
        return ready;
    }
    if (target != directory) {
        return moveUser(change, directory, target, user, given.secret());
    }
    return changePasswordFor(change, directory, user, given.secret());
}

}  // namespace

Command protectEdit() {
    return {
        .words = "protect edit",
        .summary = "Change a user's password, or move the user to another directory",
        .action = edit,
        .parameters = {ProtectedDirectory, ProtectedUser, Target},
        .operations = {"PrivateFolder::editPrivateFolder"},
        .examples = {"protect edit /srv/shop/intern joe",
                     "protect edit /srv/shop/intern joe --to "
                     "/home/anna/shop.example/www/html/extern"},
        .needsSecret = true,
    };
}

}  // namespace zpweb
