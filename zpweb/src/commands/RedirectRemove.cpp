// redirect remove: a path of a site leads nowhere else any more.
#include "commands/SettingsCommands.h"
#include "commands/shared/SettingParameters.h"
#include "input/Quoted.h"
#include "settings/RedirectChange.h"

namespace zpweb {

namespace {

constexpr auto RedirectedPath = maybe("PATH", Kind::UrlPath, "As it was set (default: the whole site)");

Outcome removeRedirect(Transaction& change, const Site& site, const Arguments& given) {
    const std::string path = given[RedirectedPath].value_or("/");
    if (redirectsOf(change, site.name()).at(path) == nullptr) {
        return isNotThere("redirect of " + inQuotes(path) + ": the site has none");
    }
    return changeRedirects(change, site.name(), given[Overwrite], [&](RedirectSetting& setting) {
        std::erase_if(setting.paths, [&](const PathRedirect& each) { return each.path == path; });
    });
}

}  // namespace

Command redirectRemove() {
    return {
        .words = "redirect remove",
        .summary = "Take a redirect back",
        .action = removeRedirect,
        .parameters = {SiteName, RedirectedPath, Overwrite},
        .examples = {"redirect remove shop.example /old"},
    };
}

}  // namespace zpweb
