// site enable: the server reads the site's file again.
#include <algorithm>

#include "commands/Commands.h"
#include "commands/shared/SiteFiles.h"
#include "input/HostName.h"
#include "input/Quoted.h"
#include "sys/File.h"

namespace zpweb {

namespace {

constexpr auto Name = needed("NAME", Kind::HostName, "The name of a site that is disabled");

Outcome enable(Transaction& change, const Arguments& given) {
    const std::string name = given[Name];
    const Configuration& configuration = change.configuration();
    change.output().set("site", name);
    if (const auto places = configuration.find(name); !places.empty()) {
        change.output().set("file", places.front().file->path());
        return done();  // so already
    }
    const std::vector<DisabledSite> sites = disabledSites(configuration);
    const auto found =
        std::find_if(sites.begin(), sites.end(),
                     [isWanted = SameHost(name)](const DisabledSite& site) { return isWanted(site.name); });
    if (found == sites.end()) {
        return failure(Status::NotFound, "site " + inQuotes(readableHostName(name)) +
                                             ": in no file that could be enabled; see site list --all");
    }
    const Layout layout = layoutOf(configuration);
    const std::string link = layout.links + "/" + nameOf(found->file);
    if (exists(link)) {
        return failure(Status::Exists, link + ": exists already and leads elsewhere");
    }
    change.output().set("file", found->file);
    return change.link(link, layout.targetOf(found->file));
}

}  // namespace

Command siteEnable() {
    return {
        .words = "site enable",
        .summary = "Let the server read a disabled website's file again",
        .action = enable,
        .parameters = {Name},
        .more = "The link to its file is made, as with a2ensite.",
        .examples = {"site enable shop.example"},
    };
}

}  // namespace zpweb
