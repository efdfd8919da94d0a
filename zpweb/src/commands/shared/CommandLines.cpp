#include "commands/shared/CommandLines.h"

#include <algorithm>
#include <array>
#include <iostream>
#include <iterator>

#include "commands/table/Table.h"
#include "input/Json.h"
#include "input/Nearest.h"
#include "input/Quoted.h"
#include "sys/OwnersFile.h"
#include "text/Lines.h"

namespace zpweb {

namespace {

Outcome usage(const std::string& what) { return failure(Status::Usage, what); }

std::string wordOf(const Json& value) {
    return value.is_string() ? value.get<std::string>() : value.dump();
}

// A command for the log: all of it but its password.
std::string invocationText(const Invocation& invocation) {
    std::string text(invocation.command->words);
    for (const Parameter& parameter : invocation.command->parameters) {
        const std::vector<std::string> values = invocation.arguments.all(parameter);
        const std::string option = parameter.isOption() ? " " + std::string(parameter.name) : "";
        if (values.empty() && invocation.arguments.has(parameter)) {
            text += option;
        }
        for (const std::string& value : values) {
            text += option + " " + value;
        }
    }
    return text;
}

// Each command sees what those before it have staged; one that looks at what is committed goes alone.
Outcome canBeTogether(const std::vector<Invocation>& invocations) {
    const auto alone = std::find_if(invocations.begin(), invocations.end(),
                                    [](const Invocation& each) { return each.command->runsAlone; });
    return alone != invocations.end() && invocations.size() > 1
               ? usage(std::string(alone->command->words) +
                       ": it cannot be one of several commands; expected a run of its own")
               : done();
}

bool isWord(const Json& value) { return value.is_string() || value.is_number() || value.is_boolean(); }

bool areWords(const Json& values) { return std::all_of(values.begin(), values.end(), isWord); }

// Positionals, in the order of the command's parameters.
Outcome takeWords(const Json& words, const Command& command, GivenWords& given) {
    if (!areWords(words)) {
        return usage(std::string(command.words) + ": expected texts or numbers as \"arguments\"");
    }
    size_t next = 0;
    for (const Parameter& parameter : command.parameters) {
        while (!parameter.isOption() && next < words.size()) {
            given[std::string(parameter.name)].push_back(wordOf(words[next++]));
            if (!parameter.many) {
                break;
            }
        }
    }
    return next < words.size() ? usage("too many arguments for " + std::string(command.words)) : done();
}

// What says no is not taken for a yes: "no" as a text, or null.
Outcome takeFlag(const std::string& name, const Json& value, GivenWords& given) {
    if (!value.is_boolean() && value != Json::array()) {
        return usage(name + " has no value: expected true or false");
    }
    if (value != Json(false)) {
        given[name] = {};
    }
    return done();
}

Outcome takeValues(const Parameter& option, const Json& value, GivenWords& given) {
    const std::string name(option.name);
    const Json values = value.is_array() ? value : Json::array({value});
    if (value.is_boolean() || values.empty() || !areWords(values)) {
        return usage(name + ": expected a text or a number, or a list of them");
    }
    if (values.size() > 1 && !option.many) {
        return usage(name + ": expected one value");
    }
    std::transform(values.begin(), values.end(), std::back_inserter(given[name]), wordOf);
    return done();
}

// Options of a line: "name": value, or a list of values, or true for one that has no value.
Outcome takeOptions(const Json& options, const Command& command, GivenWords& given) {
    for (const auto& [key, value] : options.items()) {
        const std::string name = "--" + key;
        const auto known = std::find_if(command.parameters.begin(), command.parameters.end(),
                                        [&](const Parameter& each) { return each.name == name; });
        if (known == command.parameters.end()) {
            return usage(std::string(command.words) + ": unknown option " + inQuotes(name));
        }
        Outcome taken =
            known->kind == Kind::Flag ? takeFlag(name, value, given) : takeValues(*known, value, given);
        if (!taken.ok()) {
            return failure(taken.status, std::string(command.words) + ": " + taken.message);
        }
    }
    return done();
}

Outcome hasKnownKeys(const Json& line) {
    constexpr std::array<std::string_view, 4> Keys = {"command", "arguments", "options", "password"};
    for (const auto& [key, value] : line.items()) {
        if (std::find(Keys.begin(), Keys.end(), key) == Keys.end()) {
            Nearest nearest(key);
            std::for_each(Keys.begin(), Keys.end(), [&](std::string_view each) { nearest.consider(each); });
            return usage("unknown key " + inQuotes(key) + nearest.question());
        }
    }
    return done();
}

std::string alike(const std::string& words) {
    Nearest nearest(words);
    for (const Command& each : commandTable()) {
        nearest.consider(each.changes() ? each.words : std::string_view());
    }
    return nearest.question();
}

}  // namespace

Expected<Invocation> invocationFrom(const Json& parsed) {
    if (!parsed.is_object() || !parsed.contains("command") || !parsed["command"].is_string()) {
        return usage(
            "expected an object with \"command\", and \"arguments\", \"options\" and \"password\" as "
            "needed");
    }
    if (Outcome known = hasKnownKeys(parsed); !known.ok()) {
        return known;
    }
    const std::string words = parsed["command"].get<std::string>();
    const Command* command = findCommand(words);
    if (command == nullptr || !command->changes()) {
        return usage(inQuotes(words) + " is no command that changes something" + alike(words));
    }
    if (parsed.contains("password") && !command->needsSecret) {
        return usage(words + " takes no password");
    }
    if (parsed.contains("password") && !isWord(parsed["password"])) {
        return usage("expected a text as \"password\"");
    }
    if (!parsed.value("arguments", Json(Json::array())).is_array() ||
        !parsed.value("options", Json(Json::object())).is_object()) {
        return usage("expected a list as \"arguments\" and an object as \"options\"");
    }
    GivenWords given;
    Outcome taken = takeWords(parsed.value("arguments", Json::array()), *command, given);
    taken = taken.ok() ? takeOptions(parsed.value("options", Json::object()), *command, given) : taken;
    if (!taken.ok()) {
        return taken;
    }
    auto arguments = Arguments::from(*command, given);
    if (arguments.ok() && parsed.contains("password")) {
        arguments->setSecret(wordOf(parsed["password"]));
    }
    return arguments.ok() ? Expected(Invocation{command, std::move(*arguments)}) : arguments.outcome();
}

Expected<std::vector<Invocation>> invocationsFrom(const std::string& text, const std::string& source) {
    std::vector<Invocation> invocations;
    const Lines lines(text);
    for (size_t i = 0; i < lines.size(); ++i) {
        if (lines[i].find_first_not_of(" \t\r") == std::string_view::npos) {
            continue;
        }
        auto invocation = invocationFrom(parsedJson(lines[i]));
        if (!invocation.ok()) {
            return failure(invocation.outcome().status,
                           source + ":" + std::to_string(i + 1) + ": " + invocation.outcome().message);
        }
        invocations.push_back(std::move(*invocation));
    }
    return invocations;
}

Expected<std::string> inputText(const std::string& file) {
    if (file != "-") {
        return readNamedFile(file);
    }
    return std::string(std::istreambuf_iterator<char>(std::cin), {});
}

Outcome runTogether(Session& session, std::vector<Invocation> invocations, const std::string& fingerprint) {
    if (Outcome sound = canBeTogether(invocations); !sound.ok()) {
        return sound;
    }
    Session whole = session;
    whole.tellsEach = true;
    std::transform(invocations.begin(), invocations.end(), std::back_inserter(whole.words), invocationText);
    return runChanges(whole, std::move(invocations), fingerprint);
}

}  // namespace zpweb
