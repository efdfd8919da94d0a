// module load: loads a module.
#include "ApacheHelper.h"
#include "commands/Commands.h"
#include "commands/shared/Modules.h"
#include "commands/shared/Operation.h"
#include "commands/shared/Scopes.h"
#include "settings/Modules.h"

namespace zpweb {

namespace {

constexpr auto InMain = flag("--in-main", "By a line in the main file, as the panel does it");

Outcome load(Transaction& change, const Arguments& given) {
    const std::string name = given[Module];
    change.output().set("module", name);
    if (isLoaded(change.configuration(), name, change.output())) {
        return done();
    }
    if (!given[InMain]) {
        return requireModules(change, {name});
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
        .parameters = {Module, InMain},
        .operations = {"ApacheHelper::Apache_addModule"},
        .more =
            "It is done in the way of the distribution: by links in mods-enabled, with those that the "
            "module "
            "depends on; by a line in conf.modules.d; or beside the other LoadModule lines.",
        .examples = {"module load rewrite"},
    };
}

}  // namespace zpweb
