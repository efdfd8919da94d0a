// site show: one site's settings.
#include <algorithm>
#include <memory>

#include "Results.h"
#include "commands/Commands.h"
#include "commands/shared/AskedServer.h"
#include "commands/shared/MacroSites.h"
#include "commands/shared/Readable.h"
#include "commands/shared/SiteBlocks.h"
#include "commands/shared/SiteInfo.h"
#include "input/HostName.h"
#include "settings/Overview.h"

namespace zpweb {

namespace {

constexpr char InfoRead = zp::result::website::InfoRead;
constexpr char InfoWithoutMode = zp::result::website::InfoWithoutMode;
constexpr int Listed = zp::result::website::Exists;

void setPairs(Output& output, const char* field, const NameValueVector& values) {
    Pairs pairs;
    for (const NameValueSt& value : values) {
        pairs.emplace_back(value.Name, value.Value);
    }
    output.set(field, &pairs);
}

std::string octal(mode_t mode) {
    std::string digits;
    for (int shift = 9; shift >= 0; shift -= 3) {
        digits += static_cast<char>('0' + ((mode >> shift) & 7));
    }
    return digits;
}

// What single operations find out: whether the site is listed, its address, whose it is, its root.
void showFindings(Output& output, const Configuration& configuration, const Place& place,
                  const std::string& file) {
    const std::string domain = domainOf(*place.block);
    CZPWebsite website(nullptr, file.c_str());
    std::string address;
    std::string sharedAddress;
    std::string root;
    std::string shared;
    const int exists = quietly(output, [&] {
        website.LookupDomainInConfFile(domain, file, address);
        root = website.GetRootDocPath(file, domain);
        shared = website.ISIPLessDomain(domain, configuration.main().path(), sharedAddress);
        return website.WebsiteExists(domain.c_str());
    });
    output.set("listed", exists == Listed);
    output.set("address", address.empty() ? bareAddress(place.block->address) : address);
    output.set("shared_address", shared == "true");
    output.set("root", root.empty() ? std::string(place.block->root) : root);
}

std::vector<std::string> hostNamesOfAll(const Site& site) {
    std::vector<std::string> names;
    for (const Place& place : site.places) {
        addHostNames(*place.block, names);
    }
    return names;
}

// Blocks in their files, or those that a macro makes.
template <class Blocks, class Append>
void showBlocks(Output& output, const Blocks& all, const Append& append) {
    std::string blocks = "[";
    for (const auto& block : all) {
        blocks += blocks.size() > 1 ? "," : "";
        append(blocks, block);
    }
    blocks += "]";
    output.set("blocks", JsonText{blocks});
}

// Where the names lead and what the root is, as the server has it.
void showServed(Output& output, const Reading& reading, const Site& site) {
    const auto blocks = servedBlocks(reading, site);
    std::vector<std::string> names;
    std::string root;
    std::string rootAt;
    for (const VirtualHost* host : blocks) {
        for (const auto* list : {&host->names.aliases, &host->names.wildAliases}) {
            for (const std::string& name : *list) {
                if (std::find(names.begin(), names.end(), name) == names.end()) {
                    names.push_back(name);
                }
            }
        }
        const auto roots = reading.inSection(host->directive, "DocumentRoot");
        if (root.empty() && !roots.empty()) {
            root = reading.valueIn(host->directive, "DocumentRoot");
            rootAt = reading.originOf(*roots.back()).text();
        }
    }
    std::vector<std::string> listeners;
    for (const Endpoint& endpoint : reading.endpoints()) {
        const VirtualHost* reached = reading.leadsTo(site.name(), endpoint);
        if (std::find(blocks.begin(), blocks.end(), reached) != blocks.end()) {
            listeners.push_back(endpoint.text());
        }
    }
    output.set("served_names", names);
    output.set("served_root", known(root));
    output.set("root_at", known(rootAt));
    output.set("served_at", listeners);
}

Outcome showWhatHolds(Session& session, const Configuration& configuration, const Site& site) {
    const Place& place = site.first();
    const Readable readable(*place.block);
    const SiteInfo info(session.output, readable.path(), domainOf(*place.block));
    if (Outcome read = resultOf("GetWebsiteInfo", info.result, {InfoRead, InfoWithoutMode}); !read.ok()) {
        return read;
    }
    Output& output = session.output;
    output.set("site", site.name());
    output.set("state", stateOf(site.places));
    showFindings(output, configuration, place, readable.path());
    output.set("mode", known(info.result == InfoRead ? octal(info.record.AccessMode) : ""));
    output.set("host_names", hostNamesOfAll(site));
    output.set("index", info.record.DirIndex);
    output.set("include", info.record.Include);
    setPairs(output, "alias", info.record.Alias);
    setPairs(output, "script_alias", info.record.ScriptAlias);
    setPairs(output, "proxy", info.record.ProxyPass);
    setPairs(output, "proxy_reverse", info.record.ProxyPassReverse);
    setPairs(output, "redirect", info.record.Redirect);
    setPairs(output, "error_document", info.record.ErrorDoc);
    showSettings(output, configuration, site.name());
    if (const auto reading = askedServer(session, configuration)) {
        showServed(output, *reading, site);
        if (stateOf(site.places) == "running" && servedBlocks(*reading, site).empty()) {
            output.set("state", "not reached");
        }
    }
    return done();
}

// As if the macro's text stood where it is used.
Outcome showMade(Session& session, const Configuration& configuration, const std::vector<MacroSite>& made) {
    const ConfigurationFile file(made[0].file, Content(made[0].text), std::make_shared<Surroundings>());
    Site site;
    for (const Block& block : file.blocks()) {
        if (sameHost(block.name, made[0].name)) {
            site.places.push_back({&file, &block});
        }
    }
    Outcome shown = showWhatHolds(session, configuration, site);
    std::vector<std::string> uses;
    uses.reserve(made.size());
    for (const MacroSite& each : made) {
        uses.push_back(each.file + ":" + std::to_string(each.line));
    }
    session.output.set("places", uses);
    session.output.set("made_by", made[0].made);
    if (session.settings.json) {
        showBlocks(session.output, made,
                   [](std::string& json, const MacroSite& each) { appendBlock(json, each); });
    }
    return shown;
}

Outcome showSite(Session& session, const Configuration& configuration, const Arguments& given) {
    const auto site = findSite(configuration, given[SiteName]);
    if (const auto made = site.ok() ? std::vector<MacroSite>() : macroSites(configuration, given[SiteName]);
        !made.empty()) {
        return showMade(session, configuration, made);
    }
    Outcome shown = site.ok() ? showWhatHolds(session, configuration, *site) : site.outcome();
    if (!shown.ok()) {
        return shown;
    }
    std::vector<std::string> all;
    all.reserve(site->places.size());
    for (const Place& each : site->places) {
        all.push_back(each.text());
    }
    session.output.set("places", all);
    if (session.settings.json) {
        showBlocks(session.output, site->places,
                   [&](std::string& json, const Place& each) { appendBlock(json, configuration, each); });
    }
    return done();
}

}  // namespace

Command siteShow() {
    return {
        .words = "site show",
        .summary = "Show a website's settings",
        .action = showSite,
        .parameters = {SiteName},
        .operations = {"CZPWebsite::GetWebsiteInfo", "CZPWebsite::GetRootDocPath",
                       "CZPWebsite::LookupDomainInConfFile", "CZPWebsite::WebsiteExists",
                       "CZPWebsite::ISIPLessDomain"},
        .examples = {"site show shop.example", "site show shop.example --json"},
    };
}

}  // namespace zpweb
