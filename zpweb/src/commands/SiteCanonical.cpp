// site canonical: a site's name with "www." leads to the one without, or the other way.
#include "commands/SettingsCommands.h"
#include "commands/shared/SettingParameters.h"
#include "input/Quoted.h"
#include "settings/Proof.h"
#include "settings/RedirectChange.h"
#include "settings/SiteFacts.h"
#include "settings/SiteSettings.h"

namespace zpweb {

namespace {

constexpr auto Form = neededChoice("FORM", "www|bare|off", "The name that visitors end up with");

// Those in files that the blocks include are told by the server.
std::vector<std::string> namesInEffect(const Transaction& change, const Site& site) {
    std::vector<std::string> names = namesOf(site.places);
    const Reading* reading = change.live();
    for (const VirtualHost* host : reading != nullptr ? reading->hostsOf(settingName(site.name()))
                                                      : std::vector<const VirtualHost*>()) {
        for (const auto* list : {&host->names.aliases, &host->names.wildAliases}) {
            names.insert(names.end(), list->begin(), list->end());
        }
    }
    return names;
}

// Both names must be the site's: the one would lead into the void, or nobody would ask for the other.
Outcome hasBoth(const Transaction& change, const Site& site, const std::string& name) {
    const auto names = namesInEffect(change, site);
    for (const std::string& each : {name, twinOf(name)}) {
        if (!carry(names, each)) {
            return failure(inQuotes(each) + " is no name of the site; add it first (zpweb host add)");
        }
    }
    return done();
}

Outcome setCanonical(Transaction& change, const Site& site, const Arguments& given) {
    if (Outcome named = site.hasName(); !named.ok()) {
        return named;
    }
    const std::string own = settingName(site.name());
    const std::string bare = own.starts_with("www.") ? own.substr(4) : own;
    const std::string form = given[Form];
    const std::string name = form == "off" ? "" : form == "www" ? "www." + bare : bare;
    if (Outcome both = name.empty() ? done() : hasBoth(change, site, name); !both.ok()) {
        return both;
    }
    change.output().set("site", site.name());
    change.output().set("canonical", name);
    if (!name.empty()) {
        expectVisitors(change, own);
    }
    return changeRedirects(change, site.name(), given[Overwrite],
                           [&](RedirectSetting& setting) { setting.canonical = name; });
}

}  // namespace

Command siteCanonical() {
    return {
        .words = "site canonical",
        .summary = "Lead a website's name with www. to the one without, or the other way",
        .action = setCanonical,
        .parameters = {SiteName, Form, Overwrite},
        .more = "One hop, on http and https alike. Other names of the site stay as they are.",
        .examples = {"site canonical shop.example www", "site canonical shop.example off"},
    };
}

}  // namespace zpweb
