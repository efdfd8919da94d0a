// module unblock: deletes a site's <IfModule> block for a module.
#include "ApacheHelper.h"
#include "commands/Commands.h"
#include "commands/shared/Modules.h"
#include "commands/shared/Operation.h"
#include "commands/shared/Scopes.h"

namespace zpweb {

namespace {

Outcome removeBlock(Transaction& change, const Site& site, const Arguments& given) {
    const std::string name = site.name();
    const std::string module = "mod_" + given[Module];
    if (Outcome one = site.hasOneBlock(); !one.ok()) {
        return one;
    }
    if (const std::string place = otherwiseNamed(site.first(), given[Module]); !place.empty()) {
        return failure(Status::Refused, place + ": the block is for " + given[Module] +
                                            "_module, and only one for " + module +
                                            ".c is deleted; delete it by hand");
    }
    Edit edit;
    edit.file = site.first().file->path();
    edit.bound = bound::ModuleBlock;
    edit.scope = [&](const ConfigurationFile& file) {
        return sectionScope(file, name, opensModule(module));
    };
    edit.operation = [&](const std::string& staged) {
        return ApacheHelper().Apache_DeleteVhIfmoduleBlock(staged, name, module);
    };
    edit.meaning = expecting("Apache_DeleteVhIfmoduleBlock", {0});
    return change.edit(edit);
}

}  // namespace

Command moduleUnblock() {
    return {
        .words = "module unblock",
        .summary = "Delete a website's <IfModule> block for a module",
        .action = removeBlock,
        .parameters = {SiteName, Module},
        .operations = {"ApacheHelper::Apache_DeleteVhIfmoduleBlock"},
        .examples = {"module unblock shop.example suphp"},
    };
}

}  // namespace zpweb
