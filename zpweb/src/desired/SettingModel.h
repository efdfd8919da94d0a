// The settings of a site in a document, and the commands that bring them about: one table tells both.
#pragma once

#include <map>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <string_view>
#include <vector>

#include "input/Typed.h"
#include "sys/Outcome.h"

namespace zpweb {

// What is set, by the names of fields, each value in the form in which it is used. A flag that is given has
// no values; what has the value that is meant without it is left out.
using SettingEntry = std::map<std::string, std::vector<std::string>>;
// None: the setting is off. A setting of paths has one for each.
using SettingEntries = std::vector<SettingEntry>;

struct SettingField {
    std::string_view name;    // in documents
    std::string_view option;  // of the command, without its hyphens; empty: an argument
    Kind kind;
    std::string_view otherwise{};  // the value that is meant when none is given
    std::string_view choices{};
    bool needed = false, many = false;
    bool isOption = false;  // the value itself is the option's name
    bool told = false;      // by an export, for information
    bool whole = false;     // hosts: all are one value of the option, and all such fields are told together
};

struct SettingModel {
    enum class Shape { Text, Object, Paths };

    std::string_view name;  // in documents
    Shape shape;
    std::string_view set, drop;  // commands; for Paths the first field is the path, which both take
    std::vector<SettingField> fields;
    std::string_view dropArgument{}, dropOption{};
    std::string_view make{};  // where a path that is not there takes another command; then nothing is
                              // dropped, and what an entry does not name stays
};
const std::vector<SettingModel>& settingModels();
const SettingModel* settingModel(std::string_view name);

// A usage failure when the value is none of the model's.
Expected<SettingEntries> entriesFrom(const SettingModel& model, const nlohmann::ordered_json& value);
nlohmann::ordered_json jsonOf(const SettingModel& model, const SettingEntries& entries);
// Leaves out what is meant anyway, so that equal settings are equal.
SettingEntry plain(const SettingModel& model, SettingEntry entry);

}  // namespace zpweb
