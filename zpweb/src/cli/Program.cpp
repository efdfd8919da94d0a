#include "cli/Program.h"

#include <iostream>

#include "commands/Apply.h"

namespace zpweb {

namespace {

constexpr int Tries = 3;

Outcome oneTry(Settings& settings, Output& output, const std::vector<std::string>& words,
               const std::vector<Invocation>& invocations, bool& again) {
    Transaction transaction(settings, output, words);
    Outcome outcome = transaction.begin();
    for (size_t i = 0; outcome.ok() && i < invocations.size(); ++i) {
        outcome = invocations[i].command->change(transaction, invocations[i].arguments);
        if (!outcome.ok() && invocations.size() > 1) {
            outcome.message = "command " + std::to_string(i + 1) + " (" + invocations[i].command->words +
                              "): " + outcome.message;
        }
    }
    return outcome.ok() ? transaction.finish(again) : outcome;
}

Outcome run(const CommandLine& line, Settings& settings, Output& output,
            const std::vector<std::string>& words) {
    auto arguments = typedArguments(*line.command, line.given);
    if (!arguments.ok()) {
        return arguments.outcome();
    }
    if (settings.configuration.empty()) {
        auto found = findConfiguration();
        if (!found.ok()) {
            return found.outcome();
        }
        settings.configuration = std::move(*found);
    }
    if (line.command->words == "apply") {
        return applyCommands(settings, output, words, *arguments);
    }
    if (line.command->changes()) {
        return runChanges(settings, output, words, {{line.command, std::move(*arguments)}});
    }
    Session session{settings, output};
    return line.command->read(session, *arguments);
}

}  // namespace

Outcome runChanges(Settings& settings, Output& output, const std::vector<std::string>& words,
                   const std::vector<Invocation>& invocations) {
    Outcome outcome;
    for (int i = 0; i < Tries; ++i) {
        bool again = false;
        outcome = oneTry(settings, output, words, invocations, again);
        if (!again) {
            break;
        }
        output.note("the configuration was changed meanwhile; starting again");
    }
    if (!outcome.ok()) {
        output.clear();
    } else if (!output.changed()) {
        output.note("nothing to change: it is so already");
    } else if (settings.dryRun) {
        output.note("a dry run: nothing is changed");
    }
    if (outcome.ok() && settings.dryRun && settings.detailedExit && output.changed()) {
        return {Status::WouldChange, ""};
    }
    return outcome;
}

int runCommandLine(int argc, char** argv) {
    CommandLine line;
    if (const auto status = parse(line, argc, argv)) {
        return *status;
    }
    if (line.document != nullptr) {
        line.document->print(std::cout);
        return 0;
    }
    auto settings = settingsFrom(line.common);
    if (!settings.ok()) {
        std::cerr << "zpweb: " << settings.outcome().message << '\n';
        return static_cast<int>(settings.outcome().status);
    }
    const std::vector<std::string> words(argv + 1, argv + argc);
    Output output(*settings, line.command->words);
    Outcome outcome;
    try {
        outcome = run(line, *settings, output, words);
    } catch (const std::exception& error) {
        outcome = failure(std::string("unexpected: ") + error.what());
    }
    output.finish(outcome);
    return static_cast<int>(outcome.status);
}

}  // namespace zpweb
