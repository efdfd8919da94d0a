#include "commands/Apply.h"

#include <iostream>
#include <iterator>

#include "cli/Program.h"
#include "commands/Groups.h"
#include "sys/File.h"

namespace zpweb {

namespace {

Expected<std::string> inputText(const std::string& file) {
    if (file != "-") {
        return readFile(file);
    }
    return std::string(std::istreambuf_iterator<char>(std::cin), {});
}

// Options of a line: "name": value, or a list of values, or true for one that has no value.
Outcome takeOptions(const Json& options, std::map<std::string, std::vector<std::string>>& given) {
    for (const auto& [name, value] : options.items()) {
        std::vector<std::string>& values = given["--" + name];
        if (value.is_array()) {
            for (const Json& entry : value) {
                values.push_back(entry.is_string() ? entry.get<std::string>() : entry.dump());
            }
        } else if (!value.is_boolean()) {
            values.push_back(value.is_string() ? value.get<std::string>() : value.dump());
        } else if (!value.get<bool>()) {
            given.erase("--" + name);
        }
    }
    return done();
}

Outcome usage(const std::string& what) { return failure(Status::Usage, what); }

// {"command": "site create", "arguments": ["example.com"], "options": {"address": "192.0.2.1"}}
Expected<Invocation> invocationFrom(const std::string& line) {
    const Json parsed = Json::parse(line, nullptr, false);
    if (!parsed.is_object() || !parsed.contains("command") || !parsed["command"].is_string()) {
        return usage(
            "expected an object with \"command\", and \"arguments\", \"options\" and \"password\" as "
            "needed");
    }
    const Command* command = findCommand(parsed["command"].get<std::string>());
    if (command == nullptr || command->change == nullptr) {
        return usage("\"" + parsed["command"].get<std::string>() +
                     "\" is no command that changes something");
    }
    std::map<std::string, std::vector<std::string>> given;
    const Json words = parsed.value("arguments", Json::array());
    size_t next = 0;
    for (const Parameter& parameter : command->parameters) {
        while (!parameter.isOption() && next < words.size()) {
            const Json& word = words[next++];
            given[parameter.name].push_back(word.is_string() ? word.get<std::string>() : word.dump());
            if (!parameter.many) {
                break;
            }
        }
    }
    if (next < words.size()) {
        return usage("too many arguments for " + command->words);
    }
    if (Outcome taken = takeOptions(parsed.value("options", Json::object()), given); !taken.ok()) {
        return taken;
    }
    for (const auto& [name, values] : given) {
        const bool known = std::any_of(command->parameters.begin(), command->parameters.end(),
                                       [&name = name](const Parameter& each) { return each.name == name; });
        if (!known) {
            return usage(command->words + " has no option " + name);
        }
    }
    auto arguments = typedArguments(*command, given);
    if (!arguments.ok()) {
        return arguments.outcome();
    }
    if (parsed.contains("password")) {
        arguments->secret = parsed["password"].get<std::string>();
    }
    return Invocation{command, std::move(*arguments)};
}

std::vector<std::string> linesOf(const std::string& text) {
    std::vector<std::string> lines;
    for (size_t at = 0; at < text.size();) {
        const size_t end = std::min(text.find('\n', at), text.size());
        lines.push_back(text.substr(at, end - at));
        at = end + 1;
    }
    return lines;
}

}  // namespace

Outcome applyCommands(Settings& settings, Output& output, const std::vector<std::string>& words,
                      const Arguments& arguments) {
    const std::string file = arguments.one("FILE");
    const auto text = inputText(file);
    if (!text.ok()) {
        return text.outcome();
    }
    std::vector<Invocation> invocations;
    size_t number = 0;
    for (const std::string& line : linesOf(*text)) {
        ++number;
        if (line.find_first_not_of(" \t\r") == std::string::npos) {
            continue;
        }
        auto invocation = invocationFrom(line);
        if (!invocation.ok()) {
            return failure(invocation.outcome().status, (file == "-" ? "standard input" : file) + ":" +
                                                            std::to_string(number) + ": " +
                                                            invocation.outcome().message);
        }
        invocations.push_back(std::move(*invocation));
    }
    const Outcome outcome = runChanges(settings, output, words, invocations);
    output.clear();
    output.set("commands", invocations.size());
    return outcome;
}

std::vector<Command> applyCommand() {
    return {
        {"apply",
         "Run many commands as one change: one check, one commit, one reload",
         {{"FILE", Kind::InputFile, "", "JSON lines; \"-\" for standard input", true}},
         {},
         nullptr,
         nullptr,
         "Each line is an object such as {\"command\": \"site create\", \"arguments\": [\"example.com\"], "
         "\"options\": {\"address\": \"192.0.2.1\", \"owner\": \"web\"}}. A password is given as "
         "\"password\". When one command fails, none is done."}};
}

}  // namespace zpweb
