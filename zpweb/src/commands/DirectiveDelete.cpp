// directive delete: deletes a directive of a site, or of the server.
#include "commands/Commands.h"
#include "commands/shared/Directives.h"

namespace zpweb {

namespace {

constexpr auto OfValue = maybe("VALUE", Kind::Text, "Only the line with this value");

Outcome deleteDirective(Transaction& change, const Arguments& given) {
    return changeDirective(
        change, given,
        {.operation = "Apache_DeleteDirectivesInVH",
         .test = directiveTest(given[DirectiveName], given[OfValue]),
         .onlyLast = false,
         .call =
             [&](ApacheHelper& helper, const std::string& staged, const std::string& domain) {
                 StringVector names{given[DirectiveName]};
                 return helper.Apache_DeleteDirectivesInVH(staged, domain, names);
             },
         .expect =
             [&](const BlocksOf& blocks) {
                 expectGone(change, blocks, given[DirectiveName], given[OfValue]);
             }});
}

}  // namespace

Command directiveDelete() {
    return {
        .words = "directive delete",
        .summary = "Delete a directive of a website or the server",
        .action = deleteDirective,
        .parameters = {DirectiveName, OfValue, InSite, OnPort},
        .operations = {"ApacheHelper::Apache_DeleteDirectivesInVH"},
        .examples = {"directive delete ServerSignature --site shop.example"},
    };
}

}  // namespace zpweb
