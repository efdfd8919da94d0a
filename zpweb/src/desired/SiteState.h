// The sites as a document: what is to hold for each of them. A site has only the fields that its document
// names; what is absent is left as it is.
#pragma once

#include <map>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>
#include <vector>

#include "desired/SettingModel.h"
#include "sys/Outcome.h"

namespace zpweb {

struct SiteState {
    using Texts = std::vector<std::string>;
    using Pairs = std::map<std::string, std::string>;

    std::string name;
    std::string nameFault;  // why no site can be made with that name; one that is there may have it
    std::optional<std::string> state;  // running, stopped, suspended or disabled; absent: it is to go
    std::optional<std::string> root;
    std::optional<Texts> hostNames, index;  // in their order
    std::optional<Pairs> aliases, scriptAliases, redirects, errorDocuments;
    std::map<std::string, SettingEntries> settings;  // by their models' names
    std::optional<std::string> address, owner,
        parent;        // of a site that is made; of one that is there, no more
    std::string home;  // that it is made with; empty: not known
};

struct SitesDocument {
    std::vector<SiteState> sites;

    // `source` is named in what goes wrong.
    static Expected<SitesDocument> from(const std::string& text, const std::string& source);
};

nlohmann::ordered_json jsonOf(const SiteState& site);

}  // namespace zpweb
