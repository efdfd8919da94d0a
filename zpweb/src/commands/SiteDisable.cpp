// site disable: the server no longer reads the site's file, which stays.
#include <algorithm>

#include "commands/Commands.h"
#include "commands/shared/SiteFiles.h"
#include "input/Quoted.h"

namespace zpweb {

namespace {

Outcome disable(Transaction& change, const Site& site, const Arguments&) {
    const Layout layout = layoutOf(change.configuration());
    if (!layout.hasLinks()) {
        return failure(Status::Refused,
                       "this server reads its sites without links that could be removed; see site stop");
    }
    if (Outcome named = site.hasName(); !named.ok()) {
        return named;
    }
    // In a file that nobody reads lines in comments tell no site.
    if (std::all_of(site.places.begin(), site.places.end(),
                    [](const Place& place) { return place.block->stopped; })) {
        return failure(Status::Refused, "site " + inQuotes(site.name()) +
                                            ": it is stopped, and \"site enable\" would not find it again: "
                                            "start it first, or leave it stopped");
    }
    if (Outcome own = hasOwnFiles(change, site, layout); !own.ok()) {
        return own;
    }
    const std::vector<std::string> files = site.files();  // the site is gone with the first link
    change.output().set("site", site.name());
    change.output().set("file", files.front());
    for (const std::string& file : files) {
        askForServerLines(change, change.contentOf(file).text());
        for (const std::string& link : linksTo(change, layout, file)) {
            if (Outcome gone = change.unlink(link); !gone.ok()) {
                return gone;
            }
        }
    }
    return done();
}

}  // namespace

Command siteDisable() {
    return {
        .words = "site disable",
        .summary = "Take a website's file out of what the server reads",
        .action = disable,
        .parameters = {SiteName},
        .more = "The links to its files go, as with a2dissite; the files stay for \"site enable\".",
        .examples = {"site disable shop.example"},
        .onStopped = true,
    };
}

}  // namespace zpweb
