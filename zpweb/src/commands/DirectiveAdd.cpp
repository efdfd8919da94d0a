// directive add: adds a directive to a site's blocks.
#include "commands/Commands.h"
#include "commands/shared/Directives.h"

namespace zpweb {

namespace {

constexpr auto First = flag("--first", "To its first block only");

Outcome addToFirst(Transaction& change, const Arguments& given) {
    return addInSite(change, given, "Apache_AddDirectivesInVH",
                     [&](ApacheHelper& helper, const std::string& staged, const std::string& site) {
                         StringVector lines{wholeLine(given)};
                         return helper.Apache_AddDirectivesInVH(staged, site, lines);
                     });
}

Outcome add(Transaction& change, const Arguments& given) {
    if (given[First]) {
        return addToFirst(change, given);
    }
    return addInSite(change, given, "Apache_AddDirectiveInVH",
                     [&](ApacheHelper& helper, const std::string& staged, const std::string& site) {
                         return helper.Apache_AddDirectiveInVH(staged, site, given[DirectiveName],
                                                               given[DirectiveValue], given[Quoted]);
                     });
}

}  // namespace

Command directiveAdd() {
    return {
        .words = "directive add",
        .summary = "Add a directive to a website's blocks",
        .action = add,
        .parameters = {DirectiveName, DirectiveValue, InSite, Quoted, First},
        .operations = {"ApacheHelper::Apache_AddDirectiveInVH", "ApacheHelper::Apache_AddDirectivesInVH"},
        .examples = {"directive add ServerSignature Off --site shop.example"},
    };
}

}  // namespace zpweb
