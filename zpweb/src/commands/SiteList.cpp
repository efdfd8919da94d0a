// site list
#include <algorithm>
#include <optional>
#include <set>
#include <unordered_map>

#include "CZPWebsite.h"
#include "Results.h"
#include "commands/Commands.h"
#include "commands/shared/AskedServer.h"
#include "commands/shared/MacroSites.h"
#include "commands/shared/Operation.h"
#include "commands/shared/SiteBlocks.h"
#include "commands/shared/SiteFiles.h"
#include "conf/Text.h"
#include "input/HostName.h"

namespace zpweb {

namespace {

constexpr auto Names = flag("--names", "Only the names, as the panel's own listing finds them");
constexpr auto ByBlock = flag("--by-block", "One row for each block instead of each site");

constexpr auto All = flag("--all", "Those in files that are not enabled, too");

// All sites, in the order of their first blocks. A block without a name is one of its own.
std::vector<std::vector<Place>> placesBySite(const Configuration& configuration) {
    std::vector<std::vector<Place>> sites;
    std::unordered_map<std::string, size_t> numbers;
    numbers.reserve(configuration.main().blocks().size());
    sites.reserve(configuration.main().blocks().size());
    for (const auto& file : configuration.files()) {
        for (const Block& block : file->blocks()) {
            if (block.name.empty()) {
                sites.push_back({{file.get(), &block}});
                continue;
            }
            const auto [known, added] = numbers.try_emplace(hostNameKey(block.name), sites.size());
            if (added) {
                sites.emplace_back();
            }
            sites[known->second].push_back({file.get(), &block});
        }
    }
    return sites;
}

// A name that stands twice at one address is served by the first block only.
bool hasDuplicate(const std::vector<Place>& places) {
    std::set<std::string_view> addresses;
    return places.size() > 1 && std::any_of(places.begin(), places.end(), [&](const Place& place) {
               return !place.block->stopped && !addresses.emplace(place.block->addresses).second;
           });
}

std::vector<std::string> flagsOf(const std::vector<Place>& places) {
    std::vector<std::string> flags;
    if (hasDuplicate(places)) {
        flags.emplace_back("duplicate");
    }
    const std::string_view name = places.front().block->name;
    if (!name.empty() && (!isServerName(name) || !unaskable(name).empty())) {
        flags.emplace_back("unreachable");
    }
    return flags;
}

std::string addressColumn(const std::vector<Place>& places) {
    std::string all;
    for (const Place& place : places) {
        all.append(all.empty() ? "" : " ").append(zp::conf::trimEnd(place.block->addresses));
    }
    return all;
}

void appendBlocks(std::string& json, const Configuration& configuration, const std::vector<Place>& places) {
    json += '[';
    for (const Place& place : places) {
        json += &place == &places.front() ? "" : ",";
        appendBlock(json, configuration, place);
    }
    json += ']';
}

std::string readableOf(std::string_view name) {
    const std::string readable =
        zp::conf::contains(name, "xn--") ? readableHostName(std::string(name)) : std::string();
    return readable == name ? std::string() : readable;
}

// Conditions around blocks can only be judged by the server.
bool needsServer(const Configuration& configuration) {
    return std::any_of(configuration.files().begin(), configuration.files().end(), [](const auto& file) {
        return std::any_of(file->blocks().begin(), file->blocks().end(),
                           [](const Block& block) { return block.conditional && !block.stopped; });
    });
}

// Where the server's blocks begin; absent: it was not asked.
using Served = std::optional<std::set<std::pair<std::string, size_t>>>;
Served servedPlaces(Session& session, const Configuration& configuration) {
    const auto reading = needsServer(configuration) ? askedServer(session, configuration) : nullptr;
    if (reading == nullptr) {
        return std::nullopt;
    }
    Served served(std::in_place);
    for (const VirtualHost& host : reading->hosts()) {
        const Origin origin = reading->originOf(host);
        served->emplace(origin.file, origin.line);
    }
    return served;
}

std::string_view servedState(const std::vector<Place>& places, const Served& served) {
    const bool reached = !served || std::any_of(places.begin(), places.end(), [&](const Place& place) {
        return !place.block->conditional ||
               served->contains({place.file->path(), place.block->lines.first + 1});
    });
    const std::string_view state = stateOf(places);
    return reached || state == "stopped" ? state : "not reached";
}

void addRow(List& rows, const Configuration& configuration, const std::vector<Place>& places, bool json,
            const Served& served) {
    const Block& block = *places.front().block;
    const std::string readable = readableOf(block.name);
    rows.row().add("name", block.name.empty() ? places.front().text() : std::string(block.name));
    if (!readable.empty()) {
        rows.add("readable", readable);
    }
    rows.add("state", servedState(places, served));
    const std::vector<std::string> flags = flagsOf(places);
    if (json) {
        std::vector<std::string> names;
        for (const Place& place : places) {
            addHostNames(*place.block, names);
        }
        rows.add("names", names);
        appendBlocks(rows.member("blocks"), configuration, places);
        rows.add("flags", flags);
    } else {
        const std::string addresses = addressColumn(places);
        rows.add("address", addresses).add("root", block.root).add("place", places.front().text());
        if (!flags.empty()) {
            rows.add("flags", flags);
        }
    }
}

// A site that a macro makes has a row of its own.
void addRow(List& rows, const MacroSite& site, bool json) {
    rows.row().add("name", site.name).add("state", "running");
    if (!json) {
        rows.add("address", site.address)
            .add("root", site.root)
            .add("place", site.file + ":" + std::to_string(site.line));
        return;
    }
    std::string& text = rows.add("names", site.names).member("blocks");
    text += '[';
    appendBlock(text, site);
    text += ']';
    rows.add("flags", std::vector<std::string>());
}

// A site whose file no link lets the server read.
void addRow(List& rows, const DisabledSite& site, bool json) {
    rows.row().add("name", site.name).add("state", "disabled");
    const std::string place = site.file + ":" + std::to_string(site.line);
    if (json) {
        rows.add("names", std::vector<std::string>())
            .add("blocks", JsonText{"[]"})
            .add("flags", std::vector<std::string>())
            .add("place", place);
    } else {
        rows.add("address", "").add("root", "").add("place", place);
    }
}

bool hasInternationalisedName(const Configuration& configuration) {
    return std::any_of(configuration.files().begin(), configuration.files().end(), [](const auto& file) {
        return std::any_of(file->blocks().begin(), file->blocks().end(),
                           [](const Block& block) { return zp::conf::contains(block.name, "xn--"); });
    });
}

// As the panel's own listing finds them.
Outcome listNames(Session& session) {
    CZPWebsite website(nullptr, session.settings.configuration.c_str());
    StringVector names;
    const int result = quietly(session.output, [&] { return website.ListWebsites(names); });
    List& rows = session.output.list("sites", {"name"});
    for (const std::string& name : names) {
        rows.row().add("name", name);
    }
    return resultOf("ListWebsites", result, {zp::result::website::Listed});
}

Outcome listSites(Session& session, const Configuration& configuration, const Arguments& given) {
    if (given[Names]) {
        return listNames(session);
    }
    std::vector<std::string> columns = {"name", "state", "address", "root", "place", "flags"};
    if (hasInternationalisedName(configuration)) {
        columns.insert(columns.begin() + 1, "readable");
    }
    const Served served = servedPlaces(session, configuration);
    List& rows = session.output.list("sites", std::move(columns));
    for (const std::vector<Place>& places : placesBySite(configuration)) {
        if (!given[ByBlock]) {
            addRow(rows, configuration, places, session.settings.json, served);
            continue;
        }
        for (const Place& place : places) {
            addRow(rows, configuration, {place}, session.settings.json, served);
        }
    }
    for (const MacroSite& site : macroSites(configuration)) {
        addRow(rows, site, session.settings.json);
    }
    std::set<std::string> disabled;
    for (const DisabledSite& site :
         given[All] ? disabledSites(configuration) : std::vector<DisabledSite>()) {
        if (disabled.emplace(site.name).second) {
            addRow(rows, site, session.settings.json);
        }
    }
    return done();
}

}  // namespace

Command siteList() {
    return {
        .words = "site list",
        .summary = "List the websites",
        .action = listSites,
        .parameters = {All, ByBlock, Names},
        .operations = {"CZPWebsite::ListWebsites", "CZPWebsite::VHostsInIncFile"},
        .more =
            "A site is flagged \"duplicate\" when its name stands twice at the same address, so that only "
            "the "
            "first block is served, and \"unreachable\" when no request can ask for its name. A block "
            "without a name has a row of its own and is named by its place.",
        .examples = {"site list", "site list --all", "site list --by-block", "site list --json"},
    };
}

}  // namespace zpweb
