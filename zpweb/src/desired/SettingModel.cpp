#include "desired/SettingModel.h"

#include <algorithm>
#include <set>

#include "input/Json.h"
#include "input/Nearest.h"
#include "input/Quoted.h"

namespace zpweb {

namespace {

using Shape = SettingModel::Shape;

Outcome fault(const SettingModel& model, const std::string& what) {
    return failure(Status::Usage, inQuotes(std::string(model.name)) + ": " + what);
}

const SettingField* fieldOf(const SettingModel& model, const std::string& name) {
    const auto found = std::find_if(model.fields.begin(), model.fields.end(),
                                    [&](const SettingField& field) { return field.name == name; });
    return found == model.fields.end() ? nullptr : &*found;
}

bool isCount(const SettingField& field) {
    return field.kind == Kind::Number || field.kind == Kind::Port || field.kind == Kind::Duration ||
           (field.kind == Kind::Choice &&
            field.choices.find_first_not_of("0123456789|") == std::string_view::npos);
}

bool isOfType(const SettingField& field, const Json& value) {
    return field.kind == Kind::Flag     ? value.is_boolean()
           : value.is_number_unsigned() ? isCount(field)
                                        : value.is_string();
}

Outcome take(const SettingModel& model, const SettingField& field, const Json& value, SettingEntry& entry) {
    const Json values = field.many ? value : Json::array({value});
    if (!values.is_array() || !std::all_of(values.begin(), values.end(),
                                           [&](const Json& each) { return isOfType(field, each); })) {
        return fault(model, inQuotes(std::string(field.name)) + " is of the wrong type");
    }
    if (field.kind == Kind::Flag) {
        if (value.get<bool>()) {
            entry[std::string(field.name)] = {};
        }
        return done();
    }
    for (const Json& each : field.told ? Json::array() : values) {
        const auto typed =
            typedValue(field.kind, field.name, each.is_string() ? each.get<std::string>() : each.dump(),
                       field.choices);
        if (!typed.ok()) {
            return fault(model, typed.outcome().message);
        }
        entry[std::string(field.name)].push_back(*typed);
    }
    return done();
}

Outcome isWhole(const SettingModel& model, const SettingEntry& entry) {
    for (const SettingField& field : model.fields) {
        if (field.needed && !entry.contains(std::string(field.name))) {
            return fault(model, inQuotes(std::string(field.name)) + " is missing");
        }
    }
    return done();
}

Expected<SettingEntry> entryFrom(const SettingModel& model, const Json& object) {
    SettingEntry entry;
    if (!object.is_object()) {
        return fault(model, "expected an object");
    }
    for (const auto& [key, value] : object.items()) {
        const SettingField* field = fieldOf(model, key);
        if (field == nullptr) {
            Nearest nearest(key);
            for (const SettingField& each : model.fields) {
                nearest.consider(each.name);
            }
            return fault(model, "unknown field " + inQuotes(key) + nearest.question());
        }
        if (Outcome taken = take(model, *field, value, entry); !taken.ok()) {
            return taken;
        }
    }
    Outcome whole = isWhole(model, entry);
    return whole.ok() ? Expected(plain(model, std::move(entry))) : whole;
}

Expected<SettingEntries> pathsFrom(const SettingModel& model, const Json& list) {
    if (!list.is_array()) {
        return fault(model, "expected a list of objects");
    }
    SettingEntries entries;
    std::set<std::vector<std::string>> paths;
    for (const Json& each : list) {
        auto entry = entryFrom(model, each);
        if (!entry.ok()) {
            return entry.outcome();
        }
        const auto& path = entry->at(std::string(model.fields.front().name));
        if (!paths.insert(path).second) {
            return fault(model, inQuotes(path.front()) + " stands there twice");
        }
        entries.push_back(std::move(*entry));
    }
    return entries;
}

Json valuesJson(const SettingField& field, const std::vector<std::string>& values) {
    if (field.kind == Kind::Flag) {
        return true;
    }
    if (field.many) {
        return values;
    }
    return isCount(field) ? parsedJson(values.front()) : Json(values.front());
}

Json entryJson(const SettingModel& model, const SettingEntry& entry) {
    Json json = Json::object();
    for (const SettingField& field : model.fields) {
        if (const auto found = entry.find(std::string(field.name)); found != entry.end()) {
            json[std::string(field.name)] = valuesJson(field, found->second);
        }
    }
    return json;
}

}  // namespace

const std::vector<SettingModel>& settingModels() {
    static const std::vector<SettingModel> models = {
        {"directories",
         Shape::Paths,
         "vdir set",
         "",
         {{"path", "", Kind::Path, "", "", true},
          {"options", "option", Kind::Switch, "", "", false, true},
          {"allow", "allow", Kind::Text, "", "", false, true, false, false, true},
          {"deny", "deny", Kind::Text, "", "", false, true, false, false, true},
          {"protect", "protect", Kind::Flag},
          {"who", "", Kind::Text, "", "", false, true, false, true}},
         "",
         "",
         "vdir create"},
        {"tls",
         Shape::Object,
         "tls on",
         "tls off",
         {{"certificate", "certificate", Kind::Path, "", "", true},
          {"key", "key", Kind::Path, "", "", true},
          {"redirect", "redirect", Kind::Flag},
          {"hsts", "hsts", Kind::Duration, "0"},
          {"port", "https-port", Kind::Port, "443"},
          {"any_name", "any-name", Kind::Flag}}},
        {"php",
         Shape::Object,
         "php set",
         "php off",
         {{"fpm", "fpm", Kind::Pool, "", "", true}, {"root_only", "root-only", Kind::Flag}}},
        {"proxies",
         Shape::Paths,
         "proxy set",
         "proxy remove",
         {{"path", "", Kind::UrlPath, "", "", true},
          {"url", "", Kind::Backend, "", "", true},
          {"websocket", "websocket", Kind::Flag},
          {"timeout", "timeout", Kind::Number, "0"}}},
        {"access",
         Shape::Paths,
         "access set",
         "access off",
         {{"path", "", Kind::UrlPath, "", "", true},
          {"allow", "allow", Kind::Network, "", "", false, true},
          {"deny", "deny", Kind::Network, "", "", false, true},
          {"users", "users", Kind::UserName, "", "", false, true},
          {"user_file", "user-file", Kind::Path}}},
        {"redirects",
         Shape::Paths,
         "redirect set",
         "redirect remove",
         {{"path", "", Kind::UrlPath, "", "", true},
          {"to", "to", Kind::Url, "", "", true},
          {"keep_path", "keep-path", Kind::Flag},
          {"status", "status", Kind::Choice, "302", "301|302|307|308"}}},
        {"canonical",
         Shape::Text,
         "site canonical",
         "site canonical",
         {{"name", "", Kind::Choice, "off", "www|bare|off"}},
         "off"},
        {"log_policy",
         Shape::Object,
         "log policy",
         "log policy",
         {{"when", "", Kind::Choice, "", "daily|weekly|monthly", true, false, true},
          {"keep", "keep", Kind::Number, "14"},
          {"size", "size", Kind::Size}},
         "",
         "off"}};
    return models;
}

const SettingModel* settingModel(std::string_view name) {
    const auto& models = settingModels();
    const auto found = std::find_if(models.begin(), models.end(),
                                    [&](const SettingModel& model) { return model.name == name; });
    return found == models.end() ? nullptr : &*found;
}

SettingEntry plain(const SettingModel& model, SettingEntry entry) {
    for (const SettingField& field : model.fields) {
        const auto found = entry.find(std::string(field.name));
        const bool meant =
            found != entry.end() && field.kind != Kind::Flag &&
            (found->second.empty() || (!field.many && found->second.front() == field.otherwise));
        if (meant) {
            entry.erase(found);
        }
    }
    return entry;
}

Expected<SettingEntries> entriesFrom(const SettingModel& model, const Json& value) {
    if (model.shape == Shape::Paths) {
        return pathsFrom(model, value);
    }
    if (model.shape == Shape::Object && value == Json::object()) {
        return SettingEntries();
    }
    auto entry = entryFrom(
        model, model.shape == Shape::Text ? Json{{std::string(model.fields.front().name), value}} : value);
    if (!entry.ok()) {
        return entry.outcome();
    }
    const bool off = model.shape == Shape::Text && entry->empty();
    return off ? SettingEntries() : SettingEntries{std::move(*entry)};
}

Json jsonOf(const SettingModel& model, const SettingEntries& entries) {
    if (model.shape == Shape::Text) {
        const SettingField& field = model.fields.front();
        return entries.empty() ? Json(field.otherwise)
                               : Json(entries.front().at(std::string(field.name)).front());
    }
    Json list = Json::array();
    for (const SettingEntry& entry : entries) {
        list.push_back(entryJson(model, entry));
    }
    return model.shape == Shape::Paths ? list : entries.empty() ? Json::object() : list.front();
}

}  // namespace zpweb
