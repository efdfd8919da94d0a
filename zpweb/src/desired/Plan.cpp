#include "desired/Plan.h"

#include <algorithm>
#include <set>

#include "desired/SettingPlan.h"
#include "input/Json.h"
#include "input/Quoted.h"

namespace zpweb {

namespace {

using Texts = SiteState::Texts;
using PairsByName = SiteState::Pairs;

// The values of "site set" for what has another value now; an empty one removes.
Texts assignments(const PairsByName& is, const PairsByName& shouldBe) {
    Texts changed;
    for (const auto& [name, value] : is) {
        if (!shouldBe.contains(name)) {
            changed.push_back(name + "=");
        }
    }
    for (const auto& [name, value] : shouldBe) {
        const auto found = is.find(name);
        if (found == is.end() || found->second != value) {
            changed.push_back(name + "=" + value);
        }
    }
    return changed;
}

class SitePlan {
public:
    SitePlan(const SiteState* is, const SiteState& shouldBe, Plan& plan)
        : is_(is != nullptr ? *is : created(shouldBe)),
          shouldBe_(shouldBe),
          isNew_(is == nullptr),
          plan_(plan) {}

    Outcome make() {
        if (isNew_ && !shouldBe_.nameFault.empty()) {
            return failure(Status::Usage, shouldBe_.nameFault);
        }
        if (shouldBe_.state == "absent") {
            remove();
            return done();
        }
        if (isNew_ && (!shouldBe_.address || !shouldBe_.owner)) {
            return failure(Status::Usage,
                           "site " + inQuotes(shouldBe_.name) +
                               ": it is not there; to make it, \"address\" and \"owner\" are needed");
        }
        if (isNew_) {
            create();
        }
        if (isAway() && (hasChanges() || isWanted("running"))) {
            add(is_.state == "stopped" ? "site start" : "site enable", {});
        }
        changeRoot();
        changeNames();
        changeLines();
        changeSettings();
        changeState();
        return done();
    }

private:
    // A site as it is right after its creation, as far as the document asks for something else.
    static SiteState created(const SiteState& shouldBe) {
        SiteState site;
        site.name = shouldBe.name;
        site.state = "running";
        site.root = shouldBe.home.empty() ? shouldBe.root : shouldBe.home + "/www/html";
        site.hostNames = Texts{"www." + shouldBe.name};
        if (!shouldBe.home.empty()) {
            site.settings["directories"] = {{{"path", {shouldBe.home}}},
                                            {{"path", {shouldBe.home + "/www"}}}};
        }
        return site;
    }

    void add(const std::string& words, Texts arguments, decltype(PlannedCommand::options) options = {}) {
        arguments.insert(arguments.begin(), shouldBe_.name);
        plan_.push_back({words, std::move(arguments), std::move(options)});
    }

    template <class Value>
    bool differs(std::optional<Value> SiteState::*field) const {
        return shouldBe_.*field && (is_.*field).value_or(Value()) != *(shouldBe_.*field);
    }

    bool namesDiffer() const {
        if (!shouldBe_.hostNames) {
            return false;
        }
        const Texts present = is_.hostNames.value_or(Texts());
        return std::set(present.begin(), present.end()) !=
               std::set(shouldBe_.hostNames->begin(), shouldBe_.hostNames->end());
    }

    bool hasChanges() const {
        return rootDiffers() || namesDiffer() || settingsDiffer() || differs(&SiteState::index) ||
               differs(&SiteState::aliases) || differs(&SiteState::scriptAliases) ||
               differs(&SiteState::redirects) || differs(&SiteState::errorDocuments);
    }

    // Is there nothing of it that could be changed?
    bool isAway() const { return is_.state == "stopped" || is_.state == "disabled"; }
    bool isWanted(const char* state) const { return shouldBe_.state == state; }

    void remove() {
        if (!isNew_) {
            if (is_.state == "disabled") {
                add("site enable", {});
            }
            add("site delete", {});
        }
    }

    void create() {
        decltype(PlannedCommand::options) options = {{"address", {*shouldBe_.address}},
                                                     {"owner", {*shouldBe_.owner}}};
        if (shouldBe_.parent) {
            options.push_back({"path", {*shouldBe_.parent}});
        }
        add("site create", {}, std::move(options));
    }

    // A suspended site does not tell its root.
    bool rootDiffers() const { return is_.root && differs(&SiteState::root); }

    void changeRoot() {
        if (rootDiffers()) {
            plan_.push_back({"directive set",
                             {"DocumentRoot", *shouldBe_.root},
                             {{"site", {shouldBe_.name}}, {"quoted", {}}}});
        }
    }

    void changeNames() {
        if (!namesDiffer()) {
            return;
        }
        const Texts present = is_.hostNames.value_or(Texts());
        const Texts& wanted = *shouldBe_.hostNames;
        const auto isIn = [](const Texts& names, const std::string& name) {
            return std::find(names.begin(), names.end(), name) != names.end();
        };
        for (const std::string& name : wanted) {
            if (!isIn(present, name)) {
                add("host add", {name});
            }
        }
        for (const bool patterns : {true, false}) {  // a name that one of these takes in could not go
            for (const std::string& name : present) {
                if (!isIn(wanted, name) && (name.find_first_of("*?") != std::string::npos) == patterns) {
                    add("host remove", {name});
                }
            }
        }
    }

    void changeLines() {
        decltype(PlannedCommand::options) options;
        const auto pairs = [&](const char* option, std::optional<PairsByName> SiteState::*field) {
            if (differs(field)) {
                options.push_back(
                    {option, assignments((is_.*field).value_or(PairsByName()), *(shouldBe_.*field))});
            }
        };
        pairs("alias", &SiteState::aliases);
        pairs("script-alias", &SiteState::scriptAliases);
        pairs("redirect", &SiteState::redirects);
        pairs("error-document", &SiteState::errorDocuments);
        if (differs(&SiteState::index) && !shouldBe_.index->empty()) {
            options.push_back({"index", *shouldBe_.index});
        }
        if (!options.empty()) {
            add("site set", {}, std::move(options));
        }
        if (differs(&SiteState::index) && shouldBe_.index->empty()) {
            plan_.push_back({"directive delete", {"DirectoryIndex"}, {{"site", {shouldBe_.name}}}});
        }
    }

    SettingEntries entriesOf(const std::string& model) const {
        const auto found = is_.settings.find(model);
        return found == is_.settings.end() ? SettingEntries() : found->second;
    }

    bool settingsDiffer() const {
        return std::any_of(shouldBe_.settings.begin(), shouldBe_.settings.end(), [&](const auto& each) {
            return !isSame(*settingModel(each.first), entriesOf(each.first), each.second);
        });
    }

    // In the order of the table: what others stand on comes first.
    void changeSettings() {
        for (const SettingModel& model : settingModels()) {
            const std::string name(model.name);
            if (const auto found = shouldBe_.settings.find(name); found != shouldBe_.settings.end()) {
                planSetting(model, shouldBe_.name, entriesOf(name), found->second, plan_);
            }
        }
    }

    // A site is changed while it runs, and stopped after that.
    void changeState() {
        const std::string was = is_.state.value_or("running");
        const std::string wanted = shouldBe_.state.value_or(was);
        const bool runs = isAway() && (hasChanges() || wanted == "running");
        const std::string is = runs ? "running" : was;
        if (is == wanted) {
            return;
        }
        if (is != "running") {
            add(is == "suspended" ? "site resume" : is == "stopped" ? "site start" : "site enable", {});
        }
        if (wanted != "running") {
            add(wanted == "suspended" ? "site suspend"
                : wanted == "stopped" ? "site stop"
                                      : "site disable",
                {});
        }
    }

    const SiteState is_;
    const SiteState& shouldBe_;
    const bool isNew_;
    Plan& plan_;
};

}  // namespace

Json PlannedCommand::json() const {
    Json json{{"command", words}, {"arguments", arguments}};
    for (const auto& [name, values] : options) {
        json["options"][name] = values;
    }
    return json;
}

std::string PlannedCommand::text() const {
    std::string text = words;
    for (const std::string& argument : arguments) {
        text += " " + argument;
    }
    for (const auto& [name, values] : options) {
        text += values.empty() ? " --" + name : "";
        for (const std::string& value : values) {
            text += " --" + name + " " + value;
        }
    }
    return text;
}

Outcome planSite(const SiteState* is, const SiteState& shouldBe, Plan& plan) {
    return SitePlan(is, shouldBe, plan).make();
}

}  // namespace zpweb
