// directive set: gives a site's directive another value.
#include "commands/Commands.h"
#include "commands/shared/Directives.h"

namespace zpweb {

namespace {

Outcome set(Transaction& change, const Arguments& given) {
    return changeInSite(change, given, "Apache_UpdateDirectiveInVH",
                        [&](ApacheHelper& helper, const std::string& staged, const std::string& site) {
                            return helper.Apache_UpdateDirectiveInVH(staged, site, given[DirectiveName],
                                                                     given[DirectiveValue], given[Quoted]);
                        });
}

}  // namespace

Command directiveSet() {
    return {
        .words = "directive set",
        .summary = "Give a website's directive another value",
        .action = set,
        .parameters = {DirectiveName, DirectiveValue, InSite, Quoted},
        .operations = {"ApacheHelper::Apache_UpdateDirectiveInVH"},
        .examples = {"directive set ServerAdmin anna@shop.example --site shop.example"},
    };
}

}  // namespace zpweb
