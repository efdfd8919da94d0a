// site resume: lets a suspended site answer again.
#include "commands/Commands.h"
#include "commands/shared/Merge.h"
#include "input/Quoted.h"

namespace zpweb {

namespace {

constexpr auto Home =
    option("--home", Kind::Path, "FOLDER", "Its home (default: its block's first folder)");

Outcome resume(Transaction& change, const Site& site, const Arguments& given) {
    const std::string home = given[Home].value_or(std::string(site.first().block->home));
    if (home.empty() || home.front() != '/') {
        return failure("the block of " + site.name() +
                       " does not tell the site's home: name it with --home");
    }
    Outcome resumed = changeRoot(change, site, home + "/www/html", "DisableMessage",
                                 [&](CZPWebsite& website, UpdateVHost& record) {
                                     return website.DisableMessage(&record, home.c_str());
                                 });
    change.output().set("state", "running");
    return resumed;
}

}  // namespace

Command siteResume() {
    return {
        .words = "site resume",
        .summary = "Let a suspended website answer again",
        .action = resume,
        .parameters = {SiteName, Home},
        .operations = {"CZPWebsite::DisableMessage"},
        .examples = {"site resume shop.example"},
    };
}

}  // namespace zpweb
