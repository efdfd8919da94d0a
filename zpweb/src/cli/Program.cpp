#include "cli/Program.h"

#include <iostream>

#include "cli/CommandLine.h"
#include "commands/table/Run.h"

namespace zpweb {

namespace {

Outcome run(const CommandLine& line, Session& session) {
    auto arguments = Arguments::from(*line.command, line.given);
    return arguments.ok() ? runCommand(session, *line.command, std::move(*arguments)) : arguments.outcome();
}

}  // namespace

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
    Output output(*settings, std::string(line.command->words));
    Session session{*settings, output, {argv + 1, argv + argc}};
    Outcome outcome;
    try {
        outcome = run(line, session);
    } catch (const std::exception& error) {
        outcome = failure(std::string("unexpected: ") + error.what());
    }
    output.finish(outcome);
    return static_cast<int>(outcome.status);
}

}  // namespace zpweb
