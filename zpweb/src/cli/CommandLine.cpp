#include "cli/CommandLine.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <iostream>

#include "input/Quoted.h"
#include "sys/Number.h"

namespace zpweb {

namespace {

// The command line as CLI11 sees it, built from the table.
class Parser {
public:
    explicit Parser(CommandLine& line)
        : line_(line), app_("Websites of an Apache HTTP Server: safe by default.", "zpweb") {
        app_.require_subcommand(1);
        app_.fallthrough();
        app_.set_version_flag("--version", std::string("zpweb ") + ZPWEB_VERSION);
        app_.footer(
            "Exit status: 0 done, 1 error, 2 usage, 3 refused by the server's check, 4 rolled back "
            "after a reload,\n5 locked, 6 not found, 7 exists, 8 would change. See zpweb(1).");
        for (const Parameter& option : commonOptions()) {
            add(app_, option, line_.common);
        }
        for (const Command& each : commandTable()) {
            addCommand(each);
        }
        for (const Document& each : documents()) {
            CLI::App* sub = app_.add_subcommand(each.name, each.summary);
            sub->callback([this, &each] { line_.document = &each; });
        }
    }

    CLI::App& app() { return app_; }

private:
    static void add(CLI::App& app, const Parameter& parameter, Values& values) {
        const std::string name(parameter.name);
        CLI::Option* option = nullptr;
        if (parameter.kind == Kind::Flag) {
            option = app.add_flag_callback(
                name, [&values, name] { values[name] = {}; }, std::string(parameter.help));
        } else {
            // A value stands behind each mention of the option; a repeated positional takes all that
            // follow.
            const std::function<void(const std::string&)> take = [&values, name](const std::string& value) {
                values[name].push_back(value);
            };
            option = app.add_option_function<std::string>(name, take, std::string(parameter.help));
            option->type_name(parameter.value.empty() ? "TEXT" : std::string(parameter.value));
            if (parameter.many) {
                option->trigger_on_parse()->multi_option_policy(CLI::MultiOptionPolicy::TakeLast);
            }
        }
        option->required(parameter.required);
    }

    void addCommand(const Command& added) {
        CLI::App* parent = &app_;
        std::string rest(added.words);
        if (const size_t blank = rest.find(' '); blank != std::string::npos) {
            CLI::App*& group = groups_[rest.substr(0, blank)];
            if (group == nullptr) {
                group = app_.add_subcommand(rest.substr(0, blank));
                group->require_subcommand(1);
            }
            parent = group;
            rest.erase(0, blank + 1);
            group->description(group->get_description() + (group->get_description().empty() ? "" : ", ") +
                               rest);
        }
        CLI::App* sub = parent->add_subcommand(rest, std::string(added.summary));
        for (const Parameter& parameter : added.parameters) {
            add(*sub, parameter, line_.given);
        }
        sub->callback([this, &added] { line_.command = &added; });
    }

    CommandLine& line_;
    std::map<std::string, CLI::App*> groups_;
    CLI::App app_;
};

bool beginsCommand(const std::string& text) {
    const auto begins = [&](std::string_view known) {
        return (std::string(known) + " ").starts_with(text + " ");
    };
    return std::any_of(commandTable().begin(), commandTable().end(),
                       [&](const Command& command) { return begins(command.words); }) ||
           std::any_of(documents().begin(), documents().end(),
                       [&](const Document& document) { return begins(document.name); });
}

// What is wrong with a command line whose first words begin no command; empty when they do.
std::string unknownCommand(const std::vector<std::string>& words) {
    std::string text;
    for (const std::string& word : words) {
        text += (text.empty() ? "" : " ") + word;
        if (word.starts_with('-') || findCommand(text) != nullptr) {
            return {};
        }
        if (!beginsCommand(text)) {
            return "no command " + inQuotes(text);
        }
    }
    return {};
}

bool isOption(const std::string& name, const std::vector<Parameter>& parameters) {
    return std::any_of(parameters.begin(), parameters.end(),
                       [&](const Parameter& parameter) { return parameter.name == name; });
}

// The first word that looks like an option and is none of the command's; empty when there is none.
std::string unknownOption(const std::vector<std::string>& words) {
    std::string text;
    const Command* command = nullptr;
    for (const std::string& word : words) {
        if (!word.starts_with('-') && command == nullptr) {
            text += (text.empty() ? "" : " ") + word;
            command = findCommand(text);
        }
        const std::string name = word.substr(0, word.find('='));
        if (word.starts_with('-') && word != "-" && !isOption(name, commonOptions()) &&
            (command == nullptr || !isOption(name, command->parameters))) {
            return inQuotes(word) + ": no option" +
                   (command == nullptr ? "" : " of " + std::string(command->words));
        }
    }
    return {};
}

}  // namespace

std::optional<int> parse(CommandLine& line, int argc, char** argv) {
    Parser parser(line);
    try {
        parser.app().parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() == 0) {
            return parser.app().exit(error);  // help, version
        }
        const std::vector<std::string> words(argv + 1, argv + argc);
        const std::string command = unknownCommand(words);
        const std::string unknown = command.empty() ? unknownOption(words) : command;
        std::cerr << "zpweb: " << (unknown.empty() ? error.what() : unknown) << " (see zpweb --help)\n";
        return static_cast<int>(Status::Usage);
    }
    return std::nullopt;
}

Expected<Settings> settingsFrom(const Values& common) {
    Settings settings;
    const auto has = [&](const char* name) { return common.contains(name); };
    settings.json = has("--json");
    settings.dryRun = has("--dry-run");
    settings.detailedExit = has("--detailed-exitcode");
    settings.diff = has("--diff");
    settings.check = !has("--no-check");
    settings.reload = !has("--no-reload");
    settings.exact = has("--exact");
    settings.quiet = has("--quiet");
    settings.verbose = has("--verbose");
    if (has("--lock-timeout")) {
        const auto seconds =
            typedValue(Kind::Number, "--lock-timeout", common.at("--lock-timeout").front(), "");
        if (!seconds.ok()) {
            return seconds.outcome();
        }
        settings.lockTimeout = std::chrono::seconds(leadingNumber(*seconds));
    }
    if (has("--conf")) {
        settings.configuration = common.at("--conf").front();
        if (settings.configuration.empty()) {
            return wrongValue("--conf", "", "it is empty", "expected the path of a configuration file");
        }
    }
    return settings;
}

}  // namespace zpweb
