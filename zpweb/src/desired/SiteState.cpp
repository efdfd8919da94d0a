#include "desired/SiteState.h"

#include <algorithm>
#include <array>
#include <functional>
#include <set>

#include "input/HostName.h"
#include "input/Json.h"
#include "input/Nearest.h"
#include "input/Quoted.h"

namespace zpweb {

namespace {

using Texts = SiteState::Texts;
using PairsByName = SiteState::Pairs;

// The fields of a site: one table for reading and for writing.
struct TextField {
    const char* name;
    std::optional<std::string> SiteState::*value;
};
struct TextsField {
    const char* name;
    std::optional<Texts> SiteState::*value;
};
struct PairsField {
    const char* name;
    std::optional<PairsByName> SiteState::*value;
};
constexpr std::array<TextField, 5> TextFields = {{{"state", &SiteState::state},
                                                  {"root", &SiteState::root},
                                                  {"address", &SiteState::address},
                                                  {"owner", &SiteState::owner},
                                                  {"path", &SiteState::parent}}};
constexpr std::array<TextsField, 2> TextsFields = {
    {{"host_names", &SiteState::hostNames}, {"index", &SiteState::index}}};
constexpr std::array<PairsField, 4> PairsFields = {{{"alias", &SiteState::aliases},
                                                    {"script_alias", &SiteState::scriptAliases},
                                                    {"redirect", &SiteState::redirects},
                                                    {"error_document", &SiteState::errorDocuments}}};

bool isText(const Json& value) { return value.is_string(); }

bool take(SiteState& site, const std::string& key, const Json& value) {
    for (const TextField& field : TextFields) {
        if (key == field.name && isText(value)) {
            site.*field.value = value.get<std::string>();
            return true;
        }
    }
    for (const TextsField& field : TextsFields) {
        if (key == field.name && value.is_array() && std::all_of(value.begin(), value.end(), isText)) {
            site.*field.value = value.get<Texts>();
            return true;
        }
    }
    for (const PairsField& field : PairsFields) {
        if (key == field.name && value.is_object() && std::all_of(value.begin(), value.end(), isText)) {
            site.*field.value = value.get<PairsByName>();
            return true;
        }
    }
    return false;
}

// What an export tells besides: it is read over.
bool isTold(const std::string& key) {
    return key == "name" || key == "readable" || key == "blocks" || key == "users";
}

std::string unknown(const std::string& key) {
    Nearest nearest(key);
    std::string kind = ": unknown field, or its value is of the wrong type";
    const auto consider = [&](const auto& fields) {
        for (const auto& field : fields) {
            nearest.consider(key == field.name ? "" : field.name);
        }
    };
    consider(TextFields);
    consider(TextsFields);
    consider(PairsFields);
    consider(settingModels());
    return inQuotes(key) + kind + nearest.question();
}

Outcome fault(const std::string& source, const std::string& what) {
    return failure(Status::Usage, source + ": " + what);
}

bool isState(const std::string& state) {
    return state == "running" || state == "stopped" || state == "suspended" || state == "disabled" ||
           state == "absent";
}

Expected<SiteState> siteFrom(const Json& json, const std::string& source) {
    if (!json.is_object() || !json.contains("name") || !json["name"].is_string()) {
        return fault(source, "a site must be an object with a \"name\"");
    }
    SiteState site;
    site.name = json["name"].get<std::string>();
    if (const auto name = asciiHostName(site.name); name.ok()) {
        site.name = *name;
    } else {
        site.nameFault = name.outcome().message;
    }
    for (const auto& [key, value] : json.items()) {
        if (const SettingModel* model = settingModel(key)) {
            auto entries = entriesFrom(*model, value);
            if (!entries.ok()) {
                return fault(source, "site " + inQuotes(site.name) + ": " + entries.outcome().message);
            }
            site.settings[key] = std::move(*entries);
        } else if (!isTold(key) && !take(site, key, value)) {
            return fault(source, "site " + inQuotes(site.name) + ": " + unknown(key));
        }
    }
    if (site.state && !isState(*site.state)) {
        return fault(source, "site " + inQuotes(site.name) + ": state " + inQuotes(*site.state) +
                                 "; expected running, stopped, suspended, disabled or absent");
    }
    return site;
}

}  // namespace

Expected<SitesDocument> SitesDocument::from(const std::string& text, const std::string& source) {
    const Json json = parsedJson(text);
    if (!json.is_object() || !json.contains("sites") || !json["sites"].is_array()) {
        return fault(source,
                     "expected a JSON object with a list of \"sites\", as \"zpweb export\" prints it");
    }
    SitesDocument document;
    std::set<std::string> names;
    for (const Json& each : json["sites"]) {
        auto site = siteFrom(each, source);
        if (!site.ok()) {
            return site.outcome();
        }
        if (!names.insert(site->name).second) {
            return fault(source, "site " + inQuotes(site->name) + " stands there twice");
        }
        document.sites.push_back(std::move(*site));
    }
    return document;
}

Json jsonOf(const SiteState& site) {
    Json json{{"name", site.name}};
    const auto add = [&](const auto& fields) {
        for (const auto& field : fields) {
            if (site.*field.value) {
                json[field.name] = *(site.*field.value);
            }
        }
    };
    add(TextFields);
    add(TextsFields);
    add(PairsFields);
    for (const SettingModel& model : settingModels()) {
        const std::string name(model.name);
        if (const auto found = site.settings.find(name); found != site.settings.end()) {
            json[name] = jsonOf(model, found->second);
        }
    }
    return json;
}

}  // namespace zpweb
