#include "commands/table/Handed.h"

#include <algorithm>
#include <cstdlib>

#include "commands/table/Table.h"
#include "input/Json.h"
#include "store/AuditLog.h"
#include "store/JournalText.h"
#include "sys/File.h"

namespace zpweb {

namespace {

Json listOf(const std::vector<std::string>& texts) {
    Json list = Json::array();
    std::transform(texts.begin(), texts.end(), std::back_inserter(list), asText);
    return list;
}

std::vector<std::string> textsOf(const Json& list) {
    std::vector<std::string> texts;
    std::transform(list.begin(), list.end(), std::back_inserter(texts),
                   [](const Json& text) { return fromText(text.get<std::string>()); });
    return texts;
}

// What must be the same of all that are made together.
Json conditionsOf(const Settings& settings) {
    const char* path = std::getenv("PATH");
    const auto main = realPathOf(settings.configuration);
    return {{"version", ZPWEB_VERSION},
            {"configuration", main.ok() ? asText(*main) : ""},
            {"path", asText(path != nullptr ? path : "")},
            {"mounts", linkTarget("/proc/self/ns/mnt").value_or("")},
            {"check", settings.check},
            {"reload", settings.reload},
            {"exact", settings.exact},
            {"quiet", settings.quiet},
            {"log_links", settings.allowLogLinks}};
}

bool isPlain(const Settings& settings) {
    return !settings.dryRun && !settings.diff && !settings.verbose && !settings.strict &&
           !settings.allowImpact && settings.confirmWithin.count() == 0;
}

bool isPlain(const Invocation& invocation) {
    const Command& command = *invocation.command;
    const bool reads =
        std::any_of(command.parameters.begin(), command.parameters.end(), [&](const Parameter& parameter) {
            return parameter.kind == Kind::InputFile && invocation.arguments.has(parameter);
        });
    return !reads && !command.needsSecret && !command.runsAlone;
}

Json invocationJson(const Invocation& invocation) {
    Json values = Json::object();
    for (const auto& [name, given] : invocation.arguments.values()) {
        values[name] = listOf(given);
    }
    return {{"command", invocation.command->words}, {"values", values}};
}

std::optional<Invocation> invocationOf(const Json& json) {
    const Command* command = findCommand(json.value("command", ""));
    GivenWords values;
    for (const auto& [name, given] : json.at("values").items()) {
        values[name] = textsOf(given);
    }
    return command != nullptr && command->changes()
               ? std::optional(Invocation{command, Arguments(std::move(values))})
               : std::nullopt;
}

}  // namespace

std::optional<std::string> handedText(const Session& session, const std::vector<Invocation>& invocations) {
    const Settings& settings = session.settings;
    if (!isPlain(settings) || !std::all_of(invocations.begin(), invocations.end(),
                                           [](const Invocation& each) { return isPlain(each); })) {
        return std::nullopt;
    }
    Json commands = Json::array();
    for (const Invocation& each : invocations) {
        commands.push_back(invocationJson(each));
    }
    const Json json = {{"conditions", conditionsOf(settings)},
                       {"words", listOf(session.words)},
                       {"login", asText(loginName())},
                       {"label", asText(settings.label)},
                       {"json", settings.json},
                       {"ensure", settings.ensure},
                       {"tells_each", session.tellsEach},
                       {"commands", commands}};
    return json.dump();
}

std::optional<Handed> handedFrom(const std::string& text, const std::string& own,
                                 const Settings& settings) {
    const auto json = parsedObject(text);
    const auto ours = parsedObject(own);
    if (!json || !ours || json->value("conditions", Json()) != ours->value("conditions", Json())) {
        return std::nullopt;
    }
    Handed handed{settings,
                  textsOf(json->at("words")),
                  fromText(json->at("login").get<std::string>()),
                  json->at("tells_each").get<bool>(),
                  {},
                  {}};
    handed.settings.label = fromText(json->at("label").get<std::string>());
    handed.settings.json = json->at("json").get<bool>();
    handed.settings.ensure = json->at("ensure").get<bool>();
    for (const Json& each : json->at("commands")) {
        auto invocation = invocationOf(each);
        if (!invocation) {
            return std::nullopt;
        }
        handed.invocations.push_back(std::move(*invocation));
    }
    return handed;
}

}  // namespace zpweb
