// protect add: puts a directory behind a password, or adds a user to it.
#include "commands/Commands.h"
#include "commands/shared/Overrides.h"
#include "commands/shared/Protection.h"
#include "server/DirectoryRules.h"
#include "server/ServerUser.h"
#include "sys/File.h"
#include "sys/Process.h"

namespace zpweb {

namespace {

// Files that are there keep their modes.
Outcome canBeRead(Transaction& change, const std::string& directory) {
    const auto user = answeringUser(change.configuration(), change.live());
    for (const char* name : {"/.htaccess", "/.htpasswd"}) {
        const std::string path = directory + name;
        if (user && isFile(path) && !isReadableBy(user->name, path)) {
            return failure(Status::Refused,
                           path + ": the server's user " + user->name +
                               " cannot read it, so nobody could log in: chmod o+r it first");
        }
    }
    return done();
}

Outcome protect(Transaction& change, const Arguments& given) {
    const std::string directory = given[ProtectedDirectory];
    Outcome can = needsTool();
    can = can.ok() ? heedsAccessFiles(change.configuration(), directory) : can;
    can = can.ok() ? canBeRead(change, directory) : can;
    change.expect("", "protection of " + directory, heedsAccessFile(directory));
    return can.ok() ? protectFor(change, directory, given[ProtectedUser], given.secret()) : can;
}

}  // namespace

Command protectAdd() {
    return {
        .words = "protect add",
        .summary = "Put a directory behind a password, or add a user to it",
        .action = protect,
        .parameters = {ProtectedDirectory, ProtectedUser},
        .operations = {"PrivateFolder::addPrivateFolder", "FileHandling::isParamValueExistsInFile",
                       "FileHandling::addParamInFile"},
        .examples = {"protect add /home/anna/shop.example/www/html/intern joe"},
        .needsSecret = true,
    };
}

}  // namespace zpweb
