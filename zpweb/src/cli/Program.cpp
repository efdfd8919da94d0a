#include "cli/Program.h"

#include <algorithm>
#include <iostream>

#include "commands/Apply.h"
#include "commands/Secret.h"

namespace zpweb {

namespace {

constexpr int Tries = 3;

// Which of several commands has failed.
Outcome named(Outcome outcome, const std::vector<Invocation>& invocations, size_t number) {
    if (!outcome.ok() && invocations.size() > 1) {
        outcome.message = "command " + std::to_string(number + 1) + " (" +
                          invocations[number].command->words + "): " + outcome.message;
    }
    return outcome;
}

// Passwords are read once, however many tries there are, and before anybody waits for this run.
Outcome takeSecrets(std::vector<Invocation>& invocations, Output& output) {
    for (size_t i = 0; i < invocations.size(); ++i) {
        const auto& [command, arguments] = invocations[i];
        const bool wanted =
            std::any_of(command->parameters.begin(), command->parameters.end(),
                        [](const Parameter& each) { return each.name == "--password-file"; });
        if (!wanted) {
            continue;
        }
        auto secret = readSecret(arguments, output);
        if (!secret.ok()) {
            return named(secret.outcome(), invocations, i);
        }
        invocations[i].arguments.secret = std::move(*secret);
    }
    return done();
}

Outcome oneTry(Settings& settings, Output& output, const std::vector<std::string>& words,
               const std::vector<Invocation>& invocations, bool& again) {
    Transaction transaction(settings, output, words);
    Outcome outcome = transaction.begin();
    for (size_t i = 0; outcome.ok() && i < invocations.size(); ++i) {
        outcome = invocations[i].command->change(transaction, invocations[i].arguments);
        outcome = named(std::move(outcome), invocations, i);
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
                   std::vector<Invocation> invocations) {
    Outcome outcome = takeSecrets(invocations, output);
    if (!outcome.ok()) {
        return outcome;
    }
    for (int i = 0; i < Tries; ++i) {
        bool again = false;
        outcome = oneTry(settings, output, words, invocations, again);
        if (!again) {
            break;
        }
        output.note("the configuration was changed meanwhile; starting again");
        output.startAgain();
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
