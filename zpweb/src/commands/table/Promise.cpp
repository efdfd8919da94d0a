#include "commands/table/Promise.h"

#include <algorithm>

#include "commands/shared/Expectations.h"
#include "conf/Text.h"
#include "server/Postconditions.h"

namespace zpweb {

namespace {

// Which names may lead elsewhere.
enum class Names { Kept, Host, OfSite, Any };

struct Promise {
    std::string_view words;
    bool siteOnly;  // nothing may differ outside of the site's blocks
    Names names;
    Postcondition (*holds)(const BlocksOf& blocks, const std::string& host) = nullptr;
};

// Blocks that are moved are still found by the site's name.
Postcondition isStillFound(const BlocksOf& blocks, const std::string&) {
    return leadsToSiteIfServed({blocks.site});
}

// Commands on a site that are not listed change its blocks only and lead no name elsewhere; others may
// change anything, and lead no name elsewhere either.
constexpr Promise Table[] = {
    {"site create", true, Names::Kept,
     [](const BlocksOf& blocks, const std::string&) { return leadsToSite(blocks.site, blocks); }},
    {"site delete", true, Names::OfSite,
     [](const BlocksOf& blocks, const std::string&) { return servesNothing(blocks); }},
    {"site stop", true, Names::OfSite,
     [](const BlocksOf& blocks, const std::string&) { return servesNothing(blocks); }},
    {"site disable", true, Names::OfSite,
     [](const BlocksOf& blocks, const std::string&) { return servesNothing(blocks); }},
    {"site start", true, Names::Kept,
     [](const BlocksOf& blocks, const std::string&) { return leadsToSite(blocks.site, blocks); }},
    {"site enable", true, Names::Kept,
     [](const BlocksOf& blocks, const std::string&) { return leadsToSite(blocks.site, blocks); }},
    {"site set", true, Names::Kept},
    {"site suspend", true, Names::Kept,
     [](const BlocksOf& blocks, const std::string&) { return isSuspended(blocks); }},
    {"site pause", true, Names::OfSite},
    {"site port", true, Names::OfSite, isStillFound},
    {"site rename", true, Names::OfSite},
    {"site move", true, Names::Kept},
    {"address own", true, Names::OfSite, isStillFound},
    {"address shared", true, Names::OfSite, isStillFound},
    {"host add", true, Names::Kept,
     [](const BlocksOf& blocks, const std::string& host) { return leadsToSite(host, blocks); }},
    {"host remove", true, Names::Host,
     [](const BlocksOf& blocks, const std::string& host) { return leadsThereNoMore(host, blocks); }},
    {"perl on", false, Names::Kept},
    {"perl off", false, Names::Kept},
    {"rails on", false, Names::OfSite},
    {"rails off", false, Names::OfSite},
    {"server panel-port", false, Names::Any},
    {"undo", false, Names::Any},
};

std::string valueOf(const Arguments& given, std::string_view parameter) {
    const std::vector<std::string> values = given.all({parameter, Kind::Text, "", ""});
    return values.empty() ? "" : values.front();
}

// The site that a call is about, as its blocks write it; empty for the server.
std::string siteIn(const Configuration& configuration, const Command& command, const Arguments& given) {
    std::string name = valueOf(given, "SITE") + valueOf(given, "--site");
    if (name.empty() && command.words.starts_with("site ")) {
        name = valueOf(given, "NAME");
    }
    const Site known = name.empty() ? Site{} : knownSite(configuration, name);
    return hostNameIn(known.places.empty() ? name : std::string(known.first().block->name));
}

// A block that is named by its place: FILE:LINE.
void concernBlock(Transaction& change, const std::string& place, Names names) {
    const auto site = findSite(change.configuration(), place);
    for (const Place& each : site.ok() ? site->places : std::vector<Place>()) {
        change.asked().blocks.insert({each.file->path(), each.block->lines.first + 1});
        if (names == Names::OfSite) {
            change.asked().moving.insert(hostNameIn(each.block->name));
        }
    }
}

// Everything that the site's blocks say and lead to is asked for by its name; with a move alone, just where
// they stand.
void concernSite(Asked& asked, const std::string& site, const Promise& kept) {
    if (asked.sites.insert(site).second && kept.words == "site move") {
        asked.relocated.insert(site);
    } else {
        asked.relocated.erase(site);
    }
    if (kept.names == Names::OfSite) {
        asked.moving.insert(site);
    }
}

// The one directive that the command writes on the server's level; empty: it may write more.
std::string serverDirectiveOf(const Command& command, const Arguments& given) {
    if (command.words == "suphp on") {
        return "suPHP_Engine";
    }
    return command.words.starts_with("directive ") ? valueOf(given, "NAME") : "";
}

void concernServer(Asked& asked, const Command& command, const Arguments& given) {
    const std::string name = serverDirectiveOf(command, given);
    if (!name.empty()) {
        asked.serverDirectives.insert(lowerCase(name));
    } else {
        asked.everything = true;
    }
}

// Hosts are named by themselves.
constexpr const char* Life = " life";  // whether it is served, and as what
constexpr const char* Heard = " heard";

// Does it change so much of a site's blocks that nothing is left of what was promised of single lines?
bool rewritesBlocks(const Command& command) {
    return command.words.starts_with("site ") || command.words.starts_with("rails ");
}

// Who moves a site wants it to be reached there.
void promiseRequests(Transaction& change, const Command& command, const std::string& site,
                     const Arguments& given) {
    if (command.words == "site create") {
        change.expect(site, Heard, takesRequests({site}));
    } else if (command.words == "site port") {
        change.expect(site, Heard, takesRequests({site, valueOf(given, "PORT")}, "--listen"));
    } else if (command.words == "address own" || command.words == "address shared") {
        change.expect(site, Heard, takesRequests({site, valueOf(given, "--port")}));
    }
}

// What the library's own result may change beside what is asked for is told by these alone.
bool tellsItsPart(const Command& command) {
    return command.words == "site set" || command.words == "vdir set" || command.words == "vdir create";
}

// All further names of the site are given: others may go.
void promiseHosts(Transaction& change, const std::string& site, const Arguments& given) {
    const Parameter hosts{"--host-name", Kind::HostName, "", ""};
    for (const std::string& each : given.all(hosts)) {
        change.expect(site, lowerCase(each), leadsToSite(lowerCase(each), {site}));
    }
    if (given.has(hosts)) {
        change.asked().moving.insert(site);
    }
}

}  // namespace

void promise(Transaction& change, const Command& command, const Arguments& given) {
    const auto* row = std::find_if(std::begin(Table), std::end(Table),
                                   [&](const Promise& each) { return each.words == command.words; });
    const Promise kept = row != std::end(Table) ? *row : Promise{command.words, true, Names::Kept};
    const std::string site = siteIn(change.configuration(), command, given);
    const std::string host = lowerCase(valueOf(given, "HOST"));
    const std::string place = valueOf(given, "SITE") + valueOf(given, "--site");
    Asked& asked = change.asked();
    const bool byPlace = isPlace(place);
    if (byPlace) {
        concernBlock(change, place, kept.names);
        asked.everything = asked.everything || !kept.siteOnly;
    } else if (site.empty()) {
        concernServer(asked, command, given);
    } else {
        concernSite(asked, site, kept);
        if (valueOf(given, "--port").empty() && !command.words.starts_with("tls ")) {
            asked.whole.insert(site);
        }
        asked.everything = asked.everything || !kept.siteOnly;
    }
    if (change.settings().exact && !tellsItsPart(command)) {
        asked.within[site].insert("*");
    }
    asked.answersMayChange = asked.answersMayChange || command.words == "site suspend";
    asked.anyName = asked.anyName || kept.names == Names::Any;
    if (kept.names == Names::Host) {
        asked.names.insert(host);
    }
    if (!site.empty() && rewritesBlocks(command)) {
        change.release(site,
                       kept.names == Names::OfSite || command.words == "site start" ? "" : AboutBlocks);
    }
    if (command.words == "site resume") {
        change.release(site, Life);
    }
    if (!byPlace) {
        promiseHosts(change, site, given);
        promiseRequests(change, command, site, given);
    }
    if (kept.holds != nullptr && !byPlace) {
        change.expect(site, host.empty() ? std::string(Life) : host,
                      kept.holds({site, valueOf(given, "--port")}, host));
    }
}

}  // namespace zpweb
