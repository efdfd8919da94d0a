#include "cli/CommandLine.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <iostream>
#include <set>
#include <sstream>

#include "cli/Help.h"
#include "cli/UnknownWord.h"
#include "input/Duration.h"
#include "input/Quoted.h"
#include "sys/Number.h"
#include "text/Words.h"

namespace zpweb {

namespace {

// The command line as CLI11 sees it, built from the table. Commands that the words do not name are left
// out: all of them take longer to build than most runs that read.
class Parser {
public:
    Parser(CommandLine& line, const std::vector<std::string>& words)
        : line_(line), app_("Websites of an Apache HTTP Server: safe by default.", "zpweb") {
        app_.require_subcommand(1);
        app_.fallthrough();
        app_.set_version_flag("-V,--version", std::string("zpweb ") + ZPWEB_VERSION);
        app_.formatter_fn(
            [](const CLI::App* about, const std::string&, CLI::AppFormatMode) { return helpOf(about); });
        for (const Parameter& option : commonOptions()) {
            add(app_, option, line_.common);
        }
        const std::set<std::string_view> named(words.begin(), words.end());
        for (const Command& each : commandTable()) {
            const size_t blank = each.words.find(' ');
            if (named.contains(each.words.substr(0, blank))) {
                addCommand(each, blank == each.words.npos || named.contains(each.words.substr(blank + 1)));
            }
        }
        for (const Document& each : documents()) {
            CLI::App* sub = app_.add_subcommand(each.name, each.summary);
            if (each.name == "help") {
                sub->add_option_function<std::vector<std::string>>(
                    "WORDS",
                    [this](const std::vector<std::string>& asked) { line_.help = joinedWords(asked); });
            }
            sub->callback([this, &each] { line_.document = &each; });
        }
    }

    CLI::App& app() { return app_; }

private:
    static std::string helpOf(const CLI::App* about) {
        std::string words;
        for (; about->get_parent() != nullptr; about = about->get_parent()) {
            words = about->get_name() + (words.empty() ? "" : " ") + words;
        }
        std::ostringstream text;
        return printHelp(text, words) || printHelp(text, "") ? text.str() : "";
    }

    static void add(CLI::App& app, const Parameter& parameter, GivenWords& values) {
        const std::string name(parameter.name);
        CLI::Option* option = nullptr;
        if (parameter.kind == Kind::Flag) {
            option = app.add_flag_callback(
                name == "--follow" ? "-f," + name : name, [&values, name] { values[name] = {}; },
                std::string(parameter.help));
        } else if (parameter.many && !parameter.isOption()) {
            option = app.add_option_function<std::vector<std::string>>(
                name, [&values, name](const std::vector<std::string>& all) { values[name] = all; },
                std::string(parameter.help));
        } else {
            // A value stands behind each mention of the option.
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

    // Whole, or its group alone.
    void addCommand(const Command& added, bool whole) {
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
        }
        if (!whole) {
            return;
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

bool hasOption(const Command& command, std::string_view option) {
    return std::any_of(command.parameters.begin(), command.parameters.end(),
                       [&](const Parameter& each) { return each.name == option; });
}

// "--block ADDRESS" stands for the site that a command is about: the address is put where the name would
// be.
std::vector<std::string> withBlockInPlace(std::vector<std::string> words) {
    constexpr const char* Block = "--block";
    const auto option = std::find(words.begin(), words.end(), Block);
    if (words.end() - option < 2) {
        return words;
    }
    const std::string address = *(option + 1);
    words.erase(option, option + 2);
    for (size_t i = 0; i < words.size(); ++i) {
        const Command* two = i + 1 < words.size() ? findCommand(words[i] + " " + words[i + 1]) : nullptr;
        const Command* command = two != nullptr ? two : findCommand(words[i]);
        if (command != nullptr) {
            const auto at =
                words.insert(words.begin() + static_cast<long>(i) + (two != nullptr ? 2 : 1), address);
            if (hasOption(*command, "--site")) {
                words.insert(at, "--site");
            }
            break;
        }
    }
    return words;
}

}  // namespace

std::optional<int> parse(CommandLine& line, int argc, char** argv, std::ostream& out) {
    std::vector<std::string> words = withBlockInPlace({argv + 1, argv + argc});
    Parser parser(line, words);
    try {
        std::reverse(words.begin(), words.end());  // as the parser wants them
        parser.app().parse(std::move(words));
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() == 0) {
            return parser.app().exit(error, out);  // help, version
        }
        const std::vector<std::string> given(argv + 1, argv + argc);
        const std::string unknown = unknownWord(given);
        std::cerr << "zpweb: " << (unknown.empty() ? error.what() : unknown) << " (see zpweb help)\n";
        return static_cast<int>(Status::Usage);
    }
    return std::nullopt;
}

namespace {

// Without a text "undo --label" would take back the last change, whatever that was.
std::string faultOfLabel(const std::string& label) {
    const bool isOneLine =
        std::none_of(label.begin(), label.end(), [](unsigned char c) { return c < ' ' || c == '\x7f'; });
    return label.empty() ? "it is empty" : isOneLine ? "" : "it has a control character";
}

}  // namespace

Expected<Settings> settingsFrom(const GivenWords& common) {
    Settings settings;
    const auto has = [&](const char* name) { return common.contains(name); };
    settings.json = has("--json");
    settings.dryRun = has("--dry-run");
    settings.detailedExit = has("--detailed-exitcode");
    settings.diff = has("--diff");
    settings.check = !has("--no-check");
    settings.allowImpact = has("--allow-impact");
    settings.allowLogLinks = has("--allow-log-links");
    settings.strict = has("--strict");
    settings.reload = !has("--no-reload");
    settings.exact = has("--exact");
    settings.ensure = has("--ensure");
    settings.quiet = has("--quiet");
    settings.verbose = has("--verbose");
    if (has("--label")) {
        settings.label = common.at("--label").front();
        if (const std::string fault = faultOfLabel(settings.label); !fault.empty()) {
            return wrongValue("--label", settings.label, fault, "expected one line of text");
        }
    }
    if (has("--lock-timeout")) {
        const auto seconds =
            typedValue(Kind::Number, "--lock-timeout", common.at("--lock-timeout").front(), "");
        if (!seconds.ok()) {
            return seconds.outcome();
        }
        settings.lockTimeout = std::chrono::seconds(leadingNumber(*seconds));
    }
    if (has("--confirm-within")) {
        const auto seconds = secondsOf(common.at("--confirm-within").front());
        if (!seconds.ok() || *seconds == 0) {
            return wrongValue("--confirm-within", common.at("--confirm-within").front(),
                              "it is no time to wait", "expected a duration such as 90s, 10m or 1h");
        }
        settings.confirmWithin = std::chrono::seconds(*seconds);
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
