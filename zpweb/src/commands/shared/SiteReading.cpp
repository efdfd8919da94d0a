#include "commands/shared/SiteReading.h"

#include <algorithm>
#include <memory>
#include <set>
#include <unordered_map>

#include "Results.h"
#include "commands/shared/DirectoryReading.h"
#include "commands/shared/Operation.h"
#include "commands/shared/Readable.h"
#include "commands/shared/SiteFiles.h"
#include "commands/shared/SiteInfo.h"
#include "conf/Text.h"
#include "input/HostName.h"
#include "sys/File.h"

namespace zpweb {

namespace {

bool blockIsSuspended(const Block& block) {
    return zp::conf::equalIgnoringCase(block.root, "message.htm") ||
           zp::conf::contains(block.text, "/suspended.conf");
}

// A line of one argument stands in a <Location>, which tells the rest.
SiteState::Pairs pairsOf(const NameValueVector& values) {
    SiteState::Pairs pairs;
    for (const NameValueSt& value : values) {
        if (!value.Value.empty()) {
            pairs[value.Name] = value.Value;
        }
    }
    return pairs;
}

}  // namespace

std::vector<Site> sitesOf(const Configuration& configuration) {
    std::vector<Site> sites;
    std::unordered_map<std::string, size_t> numbers;
    for (const auto& file : configuration.files()) {
        for (const Block& block : file->blocks()) {
            if (!block.name.empty()) {
                const auto [found, fresh] = numbers.try_emplace(hostNameKey(block.name), sites.size());
                if (fresh) {
                    sites.emplace_back();
                }
                sites[found->second].places.push_back({file.get(), &block});
            }
        }
    }
    return sites;
}

std::string documentName(const Site& site) { return hostNameKey(site.name()); }

const char* stateOf(const Site& site) {
    return site.isStopped() ? "stopped" : blockIsSuspended(*site.first().block) ? "suspended" : "running";
}

Expected<SiteState> readSite(Output& output, const Site& site) {
    const Readable readable(*site.first().block);
    const SiteInfo info(output, readable.path(), domainOf(*site.first().block));
    if (Outcome read = resultOf("GetWebsiteInfo", info.result,
                                {zp::result::website::InfoRead, zp::result::website::InfoWithoutMode});
        !read.ok()) {
        return read;
    }
    SiteState state;
    state.name = documentName(site);
    state.state = stateOf(site);
    if (state.state != "suspended") {
        state.root = std::string(site.first().block->root);
    }
    state.hostNames = info.record.ServerAlias;
    state.index = info.record.DirIndex;
    state.aliases = pairsOf(info.record.Alias);
    state.scriptAliases = pairsOf(info.record.ScriptAlias);
    state.redirects = pairsOf(info.record.Redirect);
    state.errorDocuments = pairsOf(info.record.ErrorDoc);
    state.settings["directories"] = directoriesOf(*site.first().block);
    return state;
}

Expected<std::vector<SiteState>> readDisabled(Output& output, const Configuration& configuration) {
    std::vector<SiteState> states;
    std::set<std::string> names;
    for (const DisabledSite& disabled : disabledSites(configuration)) {
        auto text = readFile(disabled.file);
        if (!text.ok() || !configuration.find(disabled.name).empty() ||
            !names.insert(hostNameKey(disabled.name)).second) {
            continue;
        }
        auto around = std::make_shared<Surroundings>(surroundingsOf(configuration, *text));
        const ConfigurationFile file(disabled.file, Content(std::move(*text)), std::move(around));
        Site site;
        for (const Block& block : file.blocks()) {
            if (hostNameKey(block.name) == hostNameKey(disabled.name)) {
                site.places.push_back({&file, &block});
            }
        }
        auto state = readSite(output, site);
        if (!state.ok()) {
            return state.outcome();
        }
        state->state = "disabled";
        states.push_back(std::move(*state));
    }
    return states;
}

}  // namespace zpweb
