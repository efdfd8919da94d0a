#include "cli/Program.h"

#include <iostream>
#include <sstream>

#include "cli/CommandLine.h"
#include "cli/Complete.h"
#include "cli/Help.h"
#include "commands/table/Run.h"
#include "input/Quoted.h"

namespace zpweb {

namespace {

Outcome run(const CommandLine& line, Session& session) {
    auto arguments = Arguments::from(*line.command, line.given);
    return arguments.ok() ? runCommand(session, *line.command, std::move(*arguments)) : arguments.outcome();
}

// The status of a run that has nothing to do but to print.
int printed(int status, const std::ostringstream& text) {
    const Outcome written = writeOutput(text.view());
    if (!written.ok()) {
        std::cerr << "zpweb: " << written.message << '\n';
    }
    return written.ok() ? status : static_cast<int>(written.status);
}

int printDocument(const CommandLine& line) {
    std::ostringstream text;
    if (!line.help) {
        line.document->print(text);
    } else if (!printHelp(text, *line.help)) {
        std::cerr << "zpweb: no help about " << inQuotes(*line.help) << " (see zpweb help)\n";
        return static_cast<int>(Status::Usage);
    }
    return printed(0, text);
}

}  // namespace

int runCommandLine(int argc, char** argv) {
    const std::vector<std::string> words(argv + 1, argv + argc);
    if (!words.empty() && words.front() == "complete") {
        std::ostringstream offers;
        complete(offers, {words.begin() + 1, words.end()});
        return printed(0, offers);
    }
    CommandLine line;
    std::ostringstream help;
    if (const auto status = parse(line, argc, argv, help)) {
        return printed(*status, help);
    }
    if (line.document != nullptr) {
        return printDocument(line);
    }
    auto settings = settingsFrom(line.common);
    if (!settings.ok()) {
        std::cerr << "zpweb: " << settings.outcome().message << '\n';
        return static_cast<int>(settings.outcome().status);
    }
    Output output(*settings, std::string(line.command->words));
    Session session{*settings, output, words};
    Outcome outcome;
    try {
        outcome = run(line, session);
    } catch (const std::exception& error) {
        outcome = failure(std::string("unexpected: ") + error.what());
    }
    return static_cast<int>(output.finish(std::move(outcome)).status);
}

}  // namespace zpweb
