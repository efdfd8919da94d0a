// export: the sites as a document, for plan and for apply --state.
#include "input/Json.h"

#include "commands/Commands.h"
#include "commands/shared/SettingReading.h"
#include "commands/shared/SiteReading.h"
#include "commands/shared/WebUsers.h"
#include "input/HostName.h"
#include "input/Quoted.h"

namespace zpweb {

namespace {

constexpr auto Names = maybeMany("SITE", Kind::Site, "The sites (default: all)");

Json blocksJson(const Site& site) {
    Json blocks = Json::array();
    for (const Place& place : site.places) {
        blocks.push_back({{"address", std::string(place.block->address)},
                          {"file", place.file->path()},
                          {"line", place.block->lines.first + 1},
                          {"stopped", place.block->stopped}});
    }
    return blocks;
}

std::string documentText(const Json& value, Json::error_handler_t wrongBytes) {
    return value.dump(-1, ' ', false, wrongBytes);
}

// What is no UTF-8 has no form in a document. Left out, it stays as it is.
void addRow(const Json& json, List& rows, Output& output) {
    rows.row();
    for (const auto& [name, value] : json.items()) {
        const std::string text = documentText(value, Json::error_handler_t::ignore);
        if (text == documentText(value, Json::error_handler_t::replace)) {
            rows.add(name, JsonText{text});
        } else {
            output.note("site " + inQuotes(json["name"].get<std::string>()) + ": its " + inQuotes(name) +
                        " is no UTF-8 and left out");
        }
    }
}

Outcome addSite(Session& session, const SettingReading& settings, const Site& site, List& rows) {
    auto state = readSite(session.output, site);
    if (!state.ok()) {
        return state.outcome();
    }
    settings.addTo(*state, site.name());
    Json json = jsonOf(*state);
    json["blocks"] = blocksJson(site);
    json["users"] = userNamesOf(state->name);
    addRow(json, rows, session.output);
    return done();
}

// All of them, or those that are named; the names of these go.
Outcome addDisabled(Session& session, const Configuration& configuration, const SettingReading& settings,
                    std::vector<std::string>& names, bool all, List& rows) {
    auto states = readDisabled(session.output, configuration);
    if (!states.ok()) {
        return states.outcome();
    }
    for (SiteState& state : *states) {
        const auto named = std::find_if(names.begin(), names.end(), SameHost(state.name));
        if (!all && named == names.end()) {
            continue;
        }
        settings.addTo(state, state.name);
        addRow(jsonOf(state), rows, session.output);
        if (!all) {
            names.erase(named);
        }
    }
    return done();
}

// A document whatever the form of other answers is.
Outcome exportSites(Session& session, const Configuration& configuration, const Arguments& given) {
    session.settings.json = true;
    List& rows = session.output.list("sites", {});
    std::vector<std::string> names = given[Names];
    const bool all = names.empty();
    std::vector<Site> sites = all ? sitesOf(configuration) : std::vector<Site>();
    const SettingReading settings(configuration);
    if (Outcome disabled = addDisabled(session, configuration, settings, names, all, rows);
        !disabled.ok()) {
        return disabled;
    }
    for (const std::string& name : names) {
        auto site = findSite(configuration, name);
        if (!site.ok()) {
            return site.outcome();
        }
        if (Outcome named = site->hasName(); !named.ok()) {  // a document knows sites by theirs
            return named;
        }
        sites.push_back(std::move(*site));
    }
    for (const Site& site : sites) {
        if (Outcome added = addSite(session, settings, site, rows); !added.ok()) {
            return added;
        }
    }
    return done();
}

}  // namespace

Command exportOfSites() {
    return {
        .words = "export",
        .summary = "Print sites as one JSON document",
        .action = exportSites,
        .parameters = {Names},
        .more =
            "The document says what holds for each site; plan tells what differs from it, apply --state "
            "makes it so. "
            "Its blocks and users are told for information: plan does not look at them.",
        .examples = {"export", "export shop.example"},
    };
}

}  // namespace zpweb
