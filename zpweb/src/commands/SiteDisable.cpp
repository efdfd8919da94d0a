// site disable: the server no longer reads the site's file, which stays.
#include "commands/Commands.h"
#include "commands/shared/SiteFiles.h"

namespace zpweb {

namespace {

Outcome disable(Transaction& change, const Site& site, const Arguments&) {
    const Layout layout = layoutOf(change.configuration());
    if (!layout.hasLinks()) {
        return failure(Status::Refused,
                       "this server reads its sites without links that could be removed; see site stop");
    }
    std::string file;
    if (Outcome own = ownFileOf(change, site, layout, file); !own.ok()) {
        return own;
    }
    change.output().set("site", site.name());
    change.output().set("file", file);
    for (const std::string& link : linksTo(change, layout, file)) {
        if (Outcome gone = change.unlink(link); !gone.ok()) {
            return gone;
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
        .more = "The link to its file goes, as with a2dissite; the file stays for \"site enable\".",
        .examples = {"site disable shop.example"},
        .onStopped = true,
    };
}

}  // namespace zpweb
