// directive add: adds a directive to a site's blocks.
#include "commands/Commands.h"
#include "commands/shared/Directives.h"
#include "conf/Bounds.h"

namespace zpweb {

namespace {

constexpr auto OfSite = neededOption("--site", Kind::Site, "SITE", "In this website's blocks");
constexpr auto First = flag("--first", "To its first block only");

int addLine(const Arguments& given, const std::string& staged, const std::string& domain) {
    ApacheHelper helper;
    if (given[First]) {
        StringVector lines{wholeLine(given)};
        return helper.Apache_AddDirectivesInVH(staged, domain, lines);
    }
    return helper.Apache_AddDirectiveInVH(staged, domain, given[DirectiveName], given[DirectiveValue],
                                          given[Quoted]);
}

Outcome addDirective(Transaction& change, const Arguments& given) {
    const auto site = findRunning(change.configuration(), given[OfSite]);
    if (!site.ok()) {
        return site.outcome();
    }
    auto blocks = runningBlocks(change.configuration(), *site, given);
    if (!blocks.ok()) {
        return blocks.outcome();
    }
    if (given[First]) {
        std::erase_if(*blocks, [&](const BlockAt& at) {
            return &at.in(change.configuration()) != site->first().block;
        });
    }
    if (change.settings().ensure) {
        std::erase_if(*blocks, [&](const BlockAt& at) {
            return holdsDirective(Statements(at.in(change.configuration())), 0, given[DirectiveName],
                                  writtenValue(given));
        });
    }
    if (auto asked = blocksAskedFor(*site, given)) {
        asked->first = given[First];
        expectAdded(change, *asked, given[DirectiveName], writtenValue(given));
    }
    return editBlocks(change, *blocks,
                      {.bound = zp::conf::bound::AddDirective,
                       .show = [](View&) {},
                       .run = [&](const std::string& staged,
                                  const std::string& domain) { return addLine(given, staged, domain); },
                       .meaning = expecting("Apache_AddDirectiveInVH", {0})});
}

}  // namespace

Command directiveAdd() {
    return {
        .words = "directive add",
        .summary = "Add a directive to a website's blocks",
        .action = addDirective,
        .parameters = {DirectiveName, DirectiveValue, OfSite, OnPort, Quoted, First},
        .operations = {"ApacheHelper::Apache_AddDirectiveInVH", "ApacheHelper::Apache_AddDirectivesInVH"},
        .examples = {"directive add ServerSignature Off --site shop.example"},
    };
}

}  // namespace zpweb
