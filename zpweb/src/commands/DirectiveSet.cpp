// directive set: gives a directive of a site, or of the server, another value.
#include "commands/Commands.h"
#include "commands/shared/Directives.h"
#include "conf/Text.h"

namespace zpweb {

namespace {

Outcome setDirective(Transaction& change, const Arguments& given) {
    if (given.has(InSite) && zp::conf::equalIgnoringCase(given[DirectiveName], "ServerName")) {
        return failure(Status::Usage, "ServerName is the site's own name: see site rename");
    }
    return changeDirective(
        change, given,
        {.operation = "Apache_UpdateDirectiveInVH",
         .test = directiveTest(given[DirectiveName]),
         .onlyLast = true,
         .call =
             [&](ApacheHelper& helper, const std::string& staged, const std::string& domain) {
                 return helper.Apache_UpdateDirectiveInVH(staged, domain, given[DirectiveName],
                                                          given[DirectiveValue], given[Quoted]);
             },
         .expect =
             [&](const BlocksOf& blocks) {
                 expectSet(change, blocks, given[DirectiveName], writtenValue(given));
             }});
}

}  // namespace

Command directiveSet() {
    return {
        .words = "directive set",
        .summary = "Give a directive of a website or the server another value",
        .action = setDirective,
        .parameters = {DirectiveName, DirectiveValue, InSite, OnPort, Quoted},
        .operations = {"ApacheHelper::Apache_UpdateDirectiveInVH"},
        .examples = {"directive set ServerAdmin anna@shop.example --site shop.example"},
    };
}

}  // namespace zpweb
