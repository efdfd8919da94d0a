// module load: loads a module.
#include "ApacheHelper.h"
#include "commands/Commands.h"
#include "commands/shared/Modules.h"
#include "commands/shared/Operation.h"
#include "commands/shared/Scopes.h"

namespace zpweb {

namespace {

Outcome load(Transaction& change, const Arguments& given) {
    const std::string name = given[Module];
    change.output().set("module", name);
    if (isLoaded(change.configuration(), name, change.output())) {
        return done();
    }
    Edit edit;
    edit.file = change.configuration().main().path();
    edit.bound = bound::ServerLevel;
    edit.scope = additionsScope;
    edit.operation = [&](const std::string& staged) {
        return ApacheHelper().Apache_addModule(staged, name);
    };
    edit.meaning = expecting("Apache_addModule", {0});
    return change.edit(edit);
}

}  // namespace

Command moduleLoad() {
    return {
        .words = "module load",
        .summary = "Load a module",
        .action = load,
        .parameters = {Module},
        .operations = {"ApacheHelper::Apache_addModule"},
        .examples = {"module load rewrite"},
    };
}

}  // namespace zpweb
