#include "commands/shared/Desired.h"

#include <algorithm>
#include <map>

#include "change/Settled.h"
#include "commands/shared/CommandLines.h"
#include "commands/shared/SettingReading.h"
#include "commands/shared/SiteHome.h"
#include "commands/shared/SiteReading.h"
#include "input/Json.h"
#include "server/ConditionalLines.h"
#include "store/State.h"
#include "sys/File.h"

namespace zpweb {

namespace {

using Present = std::map<std::string, SiteState>;

// What is not told, as the commands take it.
void complete(SiteState& site) {
    completeSettings(site);
    const std::string parent = site.parent.value_or(site.owner ? homeOf(*site.owner) : "");
    site.home = parent.empty() ? "" : parent + "/" + site.name;
}

// The sites that the document names, or all of them, as they are.
Expected<Present> presentSites(Session& session, const Configuration& configuration,
                               const SitesDocument& document, bool all) {
    std::map<std::string, const SiteState*> wanted;
    for (const SiteState& site : document.sites) {
        wanted[site.name] = &site;
    }
    Present present;
    const SettingReading settings(configuration);
    for (const Site& site : sitesOf(configuration)) {
        const std::string key = documentName(site);
        if (all || wanted.contains(key)) {
            auto state = readSite(session.output, site);
            if (!state.ok()) {
                return state.outcome();
            }
            settings.addTo(*state, site.name());
            present.emplace(key, std::move(*state));
        }
    }
    auto disabled = readDisabled(session.output, configuration);
    if (!disabled.ok()) {
        return disabled.outcome();
    }
    for (SiteState& state : *disabled) {
        if (wanted.contains(state.name)) {
            settings.addTo(state, state.name);
            present.emplace(state.name, std::move(state));
        }
    }
    return present;
}

Outcome planRemovals(const Present& present, const SitesDocument& document, SitesPlan& plan) {
    for (const auto& [name, site] : present) {
        const bool named = std::any_of(document.sites.begin(), document.sites.end(),
                                       [&name = name](const SiteState& each) { return each.name == name; });
        if (!named) {
            plan.removals.push_back(name);
            plan.commands.push_back({"site delete", {name}, {}});
        }
    }
    return done();
}

Expected<Configuration> loaded(Session& session) {
    const auto main = realPathOf(session.settings.configuration);
    auto configuration =
        main.ok() ? loadSettled(*main, session.output) : Expected<Configuration>(main.outcome());
    if (configuration.ok() && session.settings.check) {
        decideConditions(*configuration, State(*main).reading());
    }
    return configuration;
}

}  // namespace

Expected<SitesPlan> planFrom(Session& session, const std::string& file, const Arguments& given) {
    const auto text = inputText(file);
    auto document = text.ok() ? SitesDocument::from(*text, file == "-" ? "standard input" : file)
                              : Expected<SitesDocument>(text.outcome());
    if (!document.ok()) {
        return document.outcome();
    }
    std::for_each(document->sites.begin(), document->sites.end(), complete);
    const auto configuration = loaded(session);
    if (!configuration.ok()) {
        return configuration.outcome();
    }
    const auto present = presentSites(session, *configuration, *document, given[Exclusive]);
    if (!present.ok()) {
        return present.outcome();
    }
    SitesPlan plan{{}, {}, fingerprintOf(*configuration)};
    for (const SiteState& site : document->sites) {
        const auto is = present->find(site.name);
        if (Outcome planned = planSite(is == present->end() ? nullptr : &is->second, site, plan.commands);
            !planned.ok()) {
            return planned;
        }
    }
    if (given[Exclusive]) {
        if (Outcome removals = planRemovals(*present, *document, plan); !removals.ok()) {
            return removals;
        }
    }
    return plan;
}

Outcome isPlanned(const SitesPlan& plan, const std::string& file) {
    const auto text = inputText(file);
    if (!text.ok()) {
        return text.outcome();
    }
    const Json planned = parsedJson(*text);
    if (!planned.is_object() || !planned.contains("fingerprint") ||
        !planned.value("commands", Json()).is_array()) {
        return failure(Status::Usage, file + ": no plan; expected what \"zpweb plan --json\" prints");
    }
    const bool same =
        std::equal(plan.commands.begin(), plan.commands.end(), planned["commands"].begin(),
                   planned["commands"].end(), [](const PlannedCommand& ours, const Json& theirs) {
                       return theirs.is_object() && theirs.value("text", Json()) == ours.text();
                   });
    return same && planned["fingerprint"] == plan.fingerprint
               ? done()
               : failure("the configuration is no longer the one that was planned for; plan again");
}

Expected<std::vector<Invocation>> invocationsOf(const SitesPlan& plan) {
    std::vector<Invocation> invocations;
    for (const PlannedCommand& each : plan.commands) {
        auto invocation = invocationFrom(each.json());
        if (!invocation.ok()) {
            return failure(invocation.outcome().status, each.text() + ": " + invocation.outcome().message);
        }
        invocations.push_back(std::move(*invocation));
    }
    return invocations;
}

void showPlan(Output& output, const SitesPlan& plan) {
    List& rows = output.list("commands", {"text"});
    for (const PlannedCommand& each : plan.commands) {
        rows.row().add("text", each.text()).add("command", each.words).add("arguments", each.arguments);
        if (!each.options.empty()) {
            rows.add("options", JsonText{each.json()["options"].dump(-1, ' ', true)});
        }
    }
    if (!plan.removals.empty()) {
        output.set("removals", plan.removals);
    }
    output.set("fingerprint", plan.fingerprint);
}

}  // namespace zpweb
