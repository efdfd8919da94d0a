// site resume: lets a suspended site answer again.
#include <algorithm>

#include "ApacheHelper.h"
#include "commands/Commands.h"
#include "commands/shared/BlockEdit.h"
#include "commands/shared/Merge.h"
#include "commands/shared/Suspended.h"
#include "conf/Bounds.h"
#include "conf/Text.h"
#include "settings/SiteSettings.h"

namespace zpweb {

namespace {

constexpr auto Home =
    option("--home", Kind::Path, "FOLDER",
           "Its home, when the panel has suspended it (default: its block's first directory)");

bool hasMessage(const Block& block) { return zp::conf::equalIgnoringCase(block.root, "message.htm"); }

Outcome withoutMessage(Transaction& change, const Site& site, const std::vector<BlockAt>& blocks,
                       const Arguments& given) {
    const std::string home = given[Home].value_or(std::string(site.first().block->home));
    if (home.empty() || home.front() != '/') {
        return failure("the block of " + site.name() +
                       " does not tell the site's home: name it with --home");
    }
    return changeRoot(change, blocks, home + "/www/html", "DisableMessage",
                      [&](CZPWebsite& website, UpdateVHost& record) {
                          return website.DisableMessage(&record, home.c_str());
                      });
}

Outcome withoutFile(Transaction& change, const std::vector<BlockAt>& blocks) {
    return editBlocks(change, blocks,
                      {.bound = zp::conf::bound::Directive,
                       .show = [](View& view) { view.show(includesSuspension); },
                       .run =
                           [](const std::string& staged, const std::string& domain) {
                               StringVector names{"Include"};
                               return ApacheHelper().Apache_DeleteDirectivesInVH(staged, domain, names);
                           },
                       .meaning = expecting("Apache_DeleteDirectivesInVH", {0})});
}

Outcome resume(Transaction& change, const Site& site, const Arguments& given) {
    change.output().set("site", site.name());
    change.output().set("state", "running");
    auto blocks = runningBlocks(change.configuration(), site, given);
    if (!blocks.ok()) {
        return blocks.outcome();
    }
    const Configuration& configuration = change.configuration();
    auto messages = *blocks;
    std::erase_if(messages, [&](const BlockAt& at) { return !hasMessage(at.in(configuration)); });
    std::erase_if(*blocks, [&](const BlockAt& at) { return !at.in(configuration).suspended; });
    const std::string file = suspensionFile(change, site);
    const auto suspended = std::count_if(site.places.begin(), site.places.end(),
                                         [](const Place& place) { return place.block->suspended; });
    const bool all = static_cast<size_t>(suspended) == blocks->size();
    Outcome outcome = withoutFile(change, *blocks);
    if (outcome.ok() && all && !blocks->empty() && change.contentOf(file)) {
        outcome = removeSettingFile(change, file);
    }
    return outcome.ok() && !messages.empty() ? withoutMessage(change, site, messages, given) : outcome;
}

}  // namespace

Command siteResume() {
    return {
        .words = "site resume",
        .summary = "Let a suspended website answer again",
        .action = resume,
        .parameters = {SiteName, Home, OnPort},
        .operations = {"ApacheHelper::Apache_DeleteDirectivesInVH", "CZPWebsite::DisableMessage"},
        .examples = {"site resume shop.example"},
    };
}

}  // namespace zpweb
