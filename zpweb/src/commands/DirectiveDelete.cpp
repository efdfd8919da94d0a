// directive delete: deletes a directive from a site's block.
#include "commands/Commands.h"
#include "commands/shared/Directives.h"

namespace zpweb {

namespace {

Outcome remove(Transaction& change, const Arguments& given) {
    return changeInSite(change, given, "Apache_DeleteDirectivesInVH",
                        [&](ApacheHelper& helper, const std::string& staged, const std::string& site) {
                            StringVector names{given[DirectiveName]};
                            return helper.Apache_DeleteDirectivesInVH(staged, site, names);
                        });
}

}  // namespace

Command directiveDelete() {
    return {
        .words = "directive delete",
        .summary = "Delete a directive from a website's block",
        .action = remove,
        .parameters = {DirectiveName, InSite},
        .operations = {"ApacheHelper::Apache_DeleteDirectivesInVH"},
        .examples = {"directive delete ServerSignature --site shop.example"},
    };
}

}  // namespace zpweb
