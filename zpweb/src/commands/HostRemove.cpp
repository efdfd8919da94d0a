// host remove: takes a further name of a site away.
#include "CZPWebsite.h"
#include "commands/Commands.h"
#include "commands/shared/BlockEdit.h"
#include "commands/shared/HostNames.h"
#include "conf/Bounds.h"
#include "conf/Text.h"
#include "input/HostName.h"
#include "input/Quoted.h"
#include "settings/RedirectChange.h"

namespace zpweb {

namespace {

// Why the name would go on leading to the block.
Outcome canGo(const Block& block, const std::string& host) {
    if (sameHost(block.name, host)) {
        return failure(Status::Refused,
                       "host name " + inQuotes(host) + ": it is the site's own name; see site rename");
    }
    const std::string wildcard = wildcardFor(block, host);
    return wildcard.empty() || zp::conf::equalIgnoringCase(wildcard, host)
               ? done()
               : failure(Status::Refused,
                         "host name " + inQuotes(host) + ": the site's " + inQuotes(wildcard) +
                             " takes it in; remove that name, or list those that are to stay");
}

BlockOperation removalOf(const std::string& host) {
    return {.bound = zp::conf::bound::HostHeader,
            // The library compares to the letter, and reads no long line.
            .show =
                [host](View& view) {
                    view.showNames("ServerAlias", [&](const std::string& name) { return name == host; });
                },
            .run =
                [host](const std::string& staged, const std::string& domain) {
                    return CZPWebsite(nullptr, staged.c_str()).DeleteHostHeader(domain, host);
                },
            .meaning = expecting("DeleteHostHeader", {0})};
}

// The name may be written in several ways.
Outcome removeFrom(Transaction& change, const BlockAt& at, const std::string& host) {
    const SameHost matches(host);
    for (const auto& [written, name] : hostNamesOf(at.in(change.configuration()))) {
        if (matches(name)) {
            if (Outcome removed = editBlock(change, at, removalOf(written)); !removed.ok()) {
                return removed;
            }
        }
    }
    return done();
}

Outcome removeHost(Transaction& change, const Site& site, const Arguments& given) {
    const std::string host = given[ListedHost];
    change.output().set("site", site.name());
    change.output().set("host", host);
    const auto blocks = runningBlocks(change.configuration(), site, given);
    if (!blocks.ok()) {
        return blocks.outcome();
    }
    const bool listed = std::any_of(blocks->begin(), blocks->end(), [&](const BlockAt& at) {
        return listsHost(at.in(change.configuration()), host);
    });
    expectCanonical(change, site.name());
    Outcome outcome = listed ? done() : asciiAlias(host).outcome();
    for (const BlockAt& at : *blocks) {
        outcome = outcome.ok() ? canGo(at.in(change.configuration()), host) : outcome;
        outcome = outcome.ok() ? removeFrom(change, at, host) : outcome;
    }
    return outcome;
}

}  // namespace

Command hostRemove() {
    return {
        .words = "host remove",
        .summary = "Take a further name away",
        .action = removeHost,
        .parameters = {SiteName, ListedHost, OnPort},
        .operations = {"CZPWebsite::DeleteHostHeader"},
        .examples = {"host remove shop.example old.shop.example"},
    };
}

}  // namespace zpweb
