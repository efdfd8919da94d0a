// protect remove: removes a user; with the last one, the protection.
#include "commands/Commands.h"
#include "commands/shared/Protection.h"

namespace zpweb {

namespace {

Outcome unprotect(Transaction& change, const Arguments& given) {
    Outcome tool = needsTool();
    return tool.ok() ? goneIsUpToDate(unprotectFor(change, given[ProtectedDirectory], given[ProtectedUser]))
                     : tool;
}

}  // namespace

Command protectRemove() {
    return {
        .words = "protect remove",
        .summary = "Remove a user; with the last one, the protection",
        .action = unprotect,
        .parameters = {ProtectedDirectory, ProtectedUser},
        .operations = {"PrivateFolder::deletePrivateFolder", "FileHandling::delParamFromFile"},
        .examples = {"protect remove /home/anna/shop.example/www/html/intern joe"},
    };
}

}  // namespace zpweb
