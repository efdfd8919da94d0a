// site suspend: lets a site answer with the message page.
#include "commands/Commands.h"
#include "commands/shared/Merge.h"

namespace zpweb {

namespace {

Outcome suspend(Transaction& change, const Site& site, const Arguments&) {
    Outcome suspended =
        changeRoot(change, site, "message.htm", "EnableMessage",
                   [](CZPWebsite& website, UpdateVHost& record) { return website.EnableMessage(&record); });
    change.output().set("state", "suspended");
    return suspended;
}

}  // namespace

Command siteSuspend() {
    return {
        .words = "site suspend",
        .summary = "Let a website answer with the message page",
        .action = suspend,
        .parameters = {SiteName},
        .operations = {"CZPWebsite::EnableMessage"},
        .examples = {"site suspend shop.example"},
    };
}

}  // namespace zpweb
