// site enable: the server reads the site's file again.
#include <algorithm>
#include <map>

#include "commands/Commands.h"
#include "commands/shared/SiteFiles.h"
#include "input/HostName.h"
#include "input/Quoted.h"
#include "sys/File.h"

namespace zpweb {

namespace {

constexpr auto Name = needed("NAME", Kind::HostName, "The name of a site that is disabled");

// The site's files that no link leads to. A copy, whose block would stand there twice, is not told apart.
Outcome filesOf(const Configuration& configuration, const std::string& name,
                std::vector<std::string>& files) {
    std::map<std::string, std::string> holders;
    for (const DisabledSite& site : disabledSites(configuration, name)) {
        const auto [holder, first] = holders.try_emplace(site.address, site.file);
        if (!first && holder->second != site.file) {
            return failure(Status::Refused, holder->second + " and " + site.file + " both have it at " +
                                                site.address + ": enable one of them with a2ensite");
        }
        if (std::find(files.begin(), files.end(), site.file) == files.end()) {
            files.push_back(site.file);
        }
    }
    return files.empty()
               ? failure(Status::NotFound, "site " + inQuotes(readableHostName(name)) +
                                               ": in no file that could be enabled; see site list --all")
               : done();
}

Outcome enable(Transaction& change, const Arguments& given) {
    const std::string name = given[Name];
    const Configuration& configuration = change.configuration();
    change.output().set("site", name);
    if (const auto places = configuration.find(name); !places.empty()) {
        change.output().set("file", places.front().file->path());
        return done();  // so already
    }
    std::vector<std::string> files;
    if (Outcome found = filesOf(configuration, name, files); !found.ok()) {
        return found;
    }
    const Layout layout = layoutOf(configuration);
    change.output().set("file", files.front());
    for (const std::string& file : files) {
        const std::string link = layout.links + "/" + nameOf(file);
        if (exists(link)) {
            return failure(Status::Exists, link + ": exists already and leads elsewhere");
        }
        const auto text = readFile(file);
        askForServerLines(change, text.ok() ? *text : "");
        if (Outcome linked = change.link(link, layout.targetOf(file)); !linked.ok()) {
            return linked;
        }
    }
    return done();
}

}  // namespace

Command siteEnable() {
    return {
        .words = "site enable",
        .summary = "Let the server read a disabled website's file again",
        .action = enable,
        .parameters = {Name},
        .more = "The links to its files are made, as with a2ensite.",
        .examples = {"site enable shop.example"},
    };
}

}  // namespace zpweb
