// site start: takes the comment marks of a stopped site's blocks away.
#include "CZPWebsite.h"
#include "Results.h"
#include "commands/Commands.h"
#include "commands/shared/WholeBlock.h"
#include "conf/Bounds.h"
#include "input/Quoted.h"
#include "text/Marks.h"

namespace zpweb {

namespace {

constexpr int Started = zp::result::website::Started;

Outcome start(Transaction& change, const Site& site, const Arguments& given) {
    change.output().set("site", site.name());
    change.output().set("state", "running");
    const auto port = given[OnPort];
    if (port && blocksOf(site, [&](const Block& block) {
                    return isOnPort(block, std::to_string(*port));
                }).empty()) {
        return failure(Status::NotFound, "site " + inQuotes(site.name()) + ": no block of it is on port " +
                                             std::to_string(*port));
    }
    const auto blocks = blocksOf(site, [&](const Block& block) {
        return block.stopped && (!port || isOnPort(block, std::to_string(*port)));
    });
    return editWhole(change, blocks,
                     {.bound = zp::conf::bound::SiteSwitch,
                      .commented = true,
                      .run =
                          [](const std::string& staged, const std::string& domain) {
                              return CZPWebsite(nullptr, staged.c_str()).StartWebsite(domain.c_str());
                          },
                      .meaning = expecting("StartWebsite", {Started}),
                      .took = [](std::string_view made) { return made.starts_with('<'); },
                      .become = withoutMarks});
}

}  // namespace

Command siteStart() {
    return {
        .words = "site start",
        .summary = "Start a stopped website",
        .action = start,
        .parameters = {SiteName, OnPort},
        .operations = {"CZPWebsite::StartWebsite"},
        .examples = {"site start shop.example"},
        .onStopped = true,
    };
}

}  // namespace zpweb
