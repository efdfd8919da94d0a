// protect add: puts a directory behind a password, or adds a user to it.
#include "commands/Commands.h"
#include "commands/shared/Overrides.h"
#include "commands/shared/Protection.h"
#include "commands/shared/ServerUser.h"
#include "server/DirectoryRules.h"
#include "sys/File.h"
#include "sys/Process.h"

namespace zpweb {

namespace {

// Files that are there keep their modes.
Outcome canBeRead(const Configuration& configuration, const std::string& folder) {
    const auto user = answeringUser(configuration);
    for (const char* name : {"/.htaccess", "/.htpasswd"}) {
        const std::string path = folder + name;
        if (user && isFile(path) && !isReadableBy(user->name, path)) {
            return failure(Status::Refused,
                           path + ": the server's user " + user->name +
                               " cannot read it, so nobody could log in: chmod o+r it first");
        }
    }
    return done();
}

Outcome protect(Transaction& change, const Arguments& given) {
    const std::string folder = given[ProtectedFolder];
    Outcome can = needsTool();
    can = can.ok() ? heedsAccessFiles(change.configuration(), folder) : can;
    can = can.ok() ? canBeRead(change.configuration(), folder) : can;
    change.expect("", "protection of " + folder, heedsAccessFile(folder));
    return can.ok() ? protectFor(change, folder, given[ProtectedUser], given.secret()) : can;
}

}  // namespace

Command protectAdd() {
    return {
        .words = "protect add",
        .summary = "Put a folder behind a password, or add a user to it",
        .action = protect,
        .parameters = {ProtectedFolder, ProtectedUser},
        .operations = {"PrivateFolder::addPrivateFolder", "FileHandling::isParamValueExistsInFile",
                       "FileHandling::addParamInFile"},
        .examples = {"protect add /home/anna/shop.example/www/html/intern joe"},
        .needsSecret = true,
    };
}

}  // namespace zpweb
