// redirect set: a path of a site, or the whole site, leads elsewhere.
#include <algorithm>

#include "commands/SettingsCommands.h"
#include "commands/shared/SettingParameters.h"
#include "input/Quoted.h"
#include "input/Url.h"
#include "settings/Proof.h"
#include "settings/RedirectChange.h"
#include "settings/SiteFacts.h"

namespace zpweb {

namespace {

constexpr auto RedirectedPath =
    maybe("PATH", Kind::UrlPath, "What leads there, with all below it (default: the whole site)");
constexpr auto To = neededOption("--to", Kind::Url, "URL", "Where it leads");
constexpr auto KeepPath = flag("--keep-path", "Append to URL what follows PATH");
constexpr auto Code = option("--status", Kind::Choice, "301|302|307|308", "The answer's status (302)");

// A target within what is redirected would be redirected again, for ever.
bool leadsToItself(const PathRedirect& redirect, const Url& to, const std::vector<std::string>& names) {
    const std::string below = redirect.path == "/" ? "/" : redirect.path + "/";
    const std::string path = to.path.substr(0, to.path.find_first_of("?#")) + "/";
    return std::find(names.begin(), names.end(), to.host) != names.end() && path.starts_with(below);
}

Outcome setRedirect(Transaction& change, const Site& site, const Arguments& given) {
    const auto to = urlFrom(given[To]);
    if (!to.ok()) {
        return to.outcome();
    }
    const PathRedirect redirect{given[RedirectedPath].value_or("/"), given[To], given[KeepPath],
                                leadingNumber(given[Code].value_or("302"))};
    if (redirect.keepPath && to->path.find_first_of("?#") != std::string::npos) {
        return failure(Status::Usage, "--keep-path: nothing can be appended to " + inQuotes(redirect.to));
    }
    if (leadsToItself(redirect, *to, namesOf(site.places))) {
        return failure(Status::Usage, "--to " + inQuotes(redirect.to) + ": it would lead to itself");
    }
    change.output().set("site", site.name());
    change.output().set("path", redirect.path);
    change.output().set("to", redirect.to);
    expectOwnVisitors(change, site.name());
    return changeRedirects(change, site.name(), given[Overwrite], [&](RedirectSetting& setting) {
        if (PathRedirect* known = setting.at(redirect.path)) {
            *known = redirect;
        } else {
            setting.paths.push_back(redirect);
        }
    });
}

}  // namespace

Command redirectSet() {
    return {
        .words = "redirect set",
        .summary = "Lead a path of a website, or all of it, elsewhere",
        .action = setRedirect,
        .parameters = {SiteName, RedirectedPath, To, KeepPath, Code, Overwrite},
        .examples = {"redirect set shop.example --to https://store.example --keep-path --status 301",
                     "redirect set shop.example /old --to https://shop.example/new"},
    };
}

}  // namespace zpweb
