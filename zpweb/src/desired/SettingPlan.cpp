#include "desired/SettingPlan.h"

#include <algorithm>
#include <set>

#include "input/Json.h"
#include "text/Restrictions.h"
#include "text/Words.h"

namespace zpweb {

namespace {

using Shape = SettingModel::Shape;

const std::string& entryPath(const SettingModel& model, const SettingEntry& entry) {
    return entry.at(std::string(model.fields.front().name)).front();
}

const SettingEntry* entryAt(const SettingModel& model, const SettingEntries& entries,
                            const std::string& path) {
    const auto found = std::find_if(entries.begin(), entries.end(), [&](const SettingEntry& each) {
        return entryPath(model, each) == path;
    });
    return found == entries.end() ? nullptr : &*found;
}

PlannedCommand setting(const SettingModel& model, const std::string& site, const SettingEntry& entry,
                       bool isNew = false) {
    PlannedCommand command{std::string(isNew && !model.make.empty() ? model.make : model.set), {site}, {}};
    for (const SettingField& field : model.fields) {
        const auto found = entry.find(std::string(field.name));
        if (found == entry.end()) {
            continue;
        }
        const auto& values = found->second;
        if (field.isOption) {
            command.options.emplace_back(values.front(), std::vector<std::string>());
        } else if (field.option.empty()) {
            command.arguments.insert(command.arguments.end(), values.begin(), values.end());
        } else if (field.whole) {
            command.options.emplace_back(field.option, std::vector{joinedWords(values, ',')});
        } else {
            command.options.emplace_back(field.option, values);
        }
    }
    return command;
}

PlannedCommand dropping(const SettingModel& model, const std::string& site) {
    PlannedCommand command{std::string(model.drop), {site}, {}};
    if (!model.dropArgument.empty()) {
        command.arguments.emplace_back(model.dropArgument);
    }
    if (!model.dropOption.empty()) {
        command.options.emplace_back(model.dropOption, std::vector<std::string>());
    }
    return command;
}

// What the values that are told together ask for, in any order.
std::multiset<std::string> entryTerms(const SettingEntry& entry) {
    const auto hosts = [&](const char* field) {
        const auto found = entry.find(field);
        return found == entry.end() ? std::string() : joinedWords(found->second, ',');
    };
    const std::vector<std::string> lines = requireLines({hosts("allow"), hosts("deny"), true, false});
    return {lines.begin(), lines.end()};
}

// Is all that is named there?
bool holds(const SettingModel& model, const SettingEntry& is, const SettingEntry& shouldBe) {
    const auto isWhole = [&model](const std::string& name) {
        return std::any_of(model.fields.begin(), model.fields.end(),
                           [&](const SettingField& field) { return field.whole && field.name == name; });
    };
    return std::all_of(shouldBe.begin(), shouldBe.end(), [&](const auto& field) {
        if (isWhole(field.first)) {
            return entryTerms(is) == entryTerms(shouldBe);
        }
        const auto found = is.find(field.first);
        return found != is.end() &&
               std::all_of(field.second.begin(), field.second.end(), [&](const std::string& value) {
                   return std::find(found->second.begin(), found->second.end(), value) !=
                          found->second.end();
               });
    });
}

void planPaths(const SettingModel& model, const std::string& site, const SettingEntries& is,
               const SettingEntries& shouldBe, Plan& plan) {
    for (const SettingEntry& each : model.drop.empty() ? SettingEntries() : is) {
        if (entryAt(model, shouldBe, entryPath(model, each)) == nullptr) {
            plan.push_back(dropping(model, site));
            plan.back().arguments.push_back(entryPath(model, each));
        }
    }
    for (const SettingEntry& each : shouldBe) {
        const SettingEntry* now = entryAt(model, is, entryPath(model, each));
        if (now == nullptr || !(model.drop.empty() ? holds(model, *now, each) : *now == each)) {
            plan.push_back(setting(model, site, each, now == nullptr));
        }
    }
}

}  // namespace

bool isSame(const SettingModel& model, const SettingEntries& is, const SettingEntries& shouldBe) {
    Plan plan;
    planSetting(model, "", is, shouldBe, plan);
    return plan.empty();
}

void planSetting(const SettingModel& model, const std::string& site, const SettingEntries& is,
                 const SettingEntries& shouldBe, Plan& plan) {
    if (model.shape == Shape::Paths) {
        planPaths(model, site, is, shouldBe, plan);
    } else if (is != shouldBe) {
        plan.push_back(shouldBe.empty() ? dropping(model, site) : setting(model, site, shouldBe.front()));
    }
}

}  // namespace zpweb
