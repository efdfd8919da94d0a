// protect add: puts a directory behind a password, or adds a user to it.
#include "commands/Commands.h"
#include "commands/shared/Overrides.h"
#include "commands/shared/Protection.h"

namespace zpweb {

namespace {

Outcome protect(Transaction& change, const Arguments& given) {
    Outcome tool = needsTool();
    tool = tool.ok() ? heedsAccessFiles(change.configuration(), given[ProtectedFolder]) : tool;
    return tool.ok() ? protectFor(change, given[ProtectedFolder], given[ProtectedUser], given.secret())
                     : tool;
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
