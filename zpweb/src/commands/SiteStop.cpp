// site stop: turns a site's blocks into comments.
#include "CZPWebsite.h"
#include "Results.h"
#include "commands/Commands.h"
#include "commands/shared/WholeBlock.h"
#include "conf/Bounds.h"
#include "conf/Text.h"
#include "text/Marks.h"

namespace zpweb {

namespace {

constexpr int Stopped = zp::result::website::Stopped;

// A block without a name, or whose lines no server takes, would be a comment that nobody takes for a site,
// and one behind a block that is not closed a comment within that.
Outcome canBeStarted(const Transaction& change, const std::vector<BlockAt>& blocks) {
    const Configuration& configuration = change.configuration();
    for (const BlockAt& at : change.settings().exact ? std::vector<BlockAt>() : blocks) {
        const Block& block = at.in(configuration);
        if (const Block* before = at.before(configuration); before != nullptr && !before->closed) {
            return failure(Status::Refused,
                           at.place(configuration) +
                               ": it could not be started again, as the block before it is "
                               "not closed; close that first");
        }
        const std::string text = withMarks(block.text);
        const Contents made = configuration.contentsOf(text);
        if (made.blocks.size() != 1 || !made.blocks.front().stopped) {
            return failure(Status::Refused,
                           at.place(configuration) +
                               ": it could not be started again, as it holds lines that are no "
                               "directives; delete them first");
        }
    }
    return done();
}

Outcome stop(Transaction& change, const Site& site, const Arguments& given) {
    change.output().set("site", site.name());
    change.output().set("state", "stopped");
    if (site.isStopped()) {
        return done();  // already so
    }
    if (Outcome named = site.hasName(); !named.ok()) {
        return named;
    }
    const auto blocks = runningBlocks(change.configuration(), site, given);
    if (Outcome can = blocks.ok() ? canBeStarted(change, *blocks) : blocks.outcome(); !can.ok()) {
        return can;
    }
    return editWhole(change, *blocks,
                     {.bound = zp::conf::bound::SiteSwitch,
                      .run =
                          [](const std::string& staged, const std::string& domain) {
                              return CZPWebsite(nullptr, staged.c_str()).StopWebsite(domain.c_str());
                          },
                      .meaning = expecting("StopWebsite", {Stopped}),
                      .took = [](std::string_view made) { return made.starts_with('#'); },
                      .become = withMarks});
}

}  // namespace

Command siteStop() {
    return {
        .words = "site stop",
        .summary = "Stop a website: its block becomes a comment",
        .action = stop,
        .parameters = {SiteName, OnPort},
        .operations = {"CZPWebsite::StopWebsite"},
        .more =
            "Each line of the block gets one comment mark more, comments too, and \"site start\" takes "
            "one away.",
        .examples = {"site stop shop.example --dry-run --diff", "site stop shop.example"},
        .onStopped = true,
    };
}

}  // namespace zpweb
