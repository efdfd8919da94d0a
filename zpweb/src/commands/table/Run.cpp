#include "commands/table/Run.h"

#include <utility>

#include "change/Settled.h"
#include "commands/table/Handed.h"
#include "commands/table/Overdue.h"
#include "commands/table/Promise.h"
#include "commands/table/Secret.h"
#include "commands/table/Together.h"
#include "server/ConditionalLines.h"
#include "store/State.h"
#include "sys/File.h"
#include "sys/Hash.h"

namespace zpweb {

namespace {

constexpr int Tries = 3;

// Which of several commands has failed.
Outcome named(Outcome outcome, const std::vector<Invocation>& invocations, size_t number) {
    if (!outcome.ok() && invocations.size() > 1) {
        outcome.message = "command " + std::to_string(number + 1) + " (" +
                          std::string(invocations[number].command->words) + "): " + outcome.message;
    }
    return outcome;
}

// Passwords are read once, however many tries there are, and before anybody waits for this run.
Outcome takeSecrets(std::vector<Invocation>& invocations, Output& output) {
    for (size_t i = 0; i < invocations.size(); ++i) {
        if (invocations[i].command->needsSecret) {
            if (Outcome taken = takeSecret(invocations[i].arguments, output); !taken.ok()) {
                return named(std::move(taken), invocations, i);
            }
        }
    }
    return done();
}

Outcome changeBy(Transaction& transaction, const Command& command, const Arguments& arguments) {
    if (const Change* plain = std::get_if<Change>(&command.action)) {
        return (*plain)(transaction, arguments);
    }
    const auto site = decided(
        (command.onStopped ? findSite : findRunning)(transaction.configuration(), arguments[SiteName]));
    if (!site.ok()) {
        return command.removesSite ? goneIsUpToDate(site.outcome()) : site.outcome();
    }
    return std::get<ChangeSite>(command.action)(transaction, *site, arguments);
}

Outcome isPlannedFor(const Configuration& configuration, const std::string& fingerprint) {
    return fingerprint.empty() || fingerprintOf(configuration) == fingerprint
               ? done()
               : failure("the configuration is no longer the one that was planned for; plan again");
}

Outcome oneTry(Session& session, const std::vector<Invocation>& invocations, const std::string& fingerprint,
               std::shared_ptr<Lock> lock, bool& again) {
    Transaction transaction(session.settings, session.output, session.words);
    session.output.step("waiting for the lock");
    Outcome outcome = transaction.begin(std::move(lock));
    outcome = outcome.ok() ? isPlannedFor(transaction.configuration(), fingerprint) : outcome;
    outcome = outcome.ok() ? runAll(transaction, invocations, session.tellsEach) : outcome;
    return outcome.ok() ? transaction.finish(again) : outcome;
}

// By itself, with the lock where it has it already.
Outcome runAlone(Session& session, const std::vector<Invocation>& invocations,
                 const std::string& fingerprint, std::shared_ptr<Lock> lock) {
    Outcome outcome;
    for (int i = 0; i < Tries; ++i) {
        bool again = false;
        outcome = oneTry(session, invocations, fingerprint, std::exchange(lock, nullptr), again);
        if (!again) {
            break;
        }
        session.output.note("the configuration was changed meanwhile; starting again");
        session.output.startAgain();
    }
    return conclude(session.settings, session.output, std::move(outcome));
}

void decideConditionsFor(Session& session, Configuration& configuration) {
    if (session.settings.check) {
        decideConditions(configuration, State(configuration.main().path()).reading());
    }
    for (const Place& place : configuration.undecided()) {
        session.output.note(place.text() +
                            ": whether the block has this name depends on a condition within it, which "
                            "only the server can tell; shown as if it were met");
    }
}

Outcome read(Session& session, const Command& command, const Arguments& arguments) {
    session.output.answers();
    if (const Read* plain = std::get_if<Read>(&command.action)) {
        return (*plain)(session, arguments);
    }
    const auto main = realPathOf(session.settings.configuration);
    if (!main.ok()) {
        return main.outcome();
    }
    session.output.step("reading the configuration");
    auto configuration = loadSettled(*main, session.output);
    if (!configuration.ok()) {
        return configuration.outcome();
    }
    decideConditionsFor(session, *configuration);
    if (const auto* ofConfiguration = std::get_if<ReadConfiguration>(&command.action)) {
        return (*ofConfiguration)(session, *configuration, arguments);
    }
    const auto site = findSite(*configuration, arguments[SiteName]);
    return site.ok() ? std::get<ReadSite>(command.action)(session, *configuration, *site, arguments)
                     : site.outcome();
}

}  // namespace

std::string fingerprintOf(const Configuration& configuration) {
    Hasher hasher;
    for (const auto& file : configuration.files()) {
        hasher.take(file->path() + "\n" + file->content().hash() + "\n");
    }
    return hasher.digits();
}

Outcome runAll(Transaction& change, const std::vector<Invocation>& invocations, bool tellsEach) {
    Outcome outcome;
    if (invocations.size() > 1) {
        change.next();  // all of them find their sites by the index
    }
    for (size_t i = 0; outcome.ok() && i < invocations.size(); ++i) {
        const size_t before = change.staged();
        const Command& command = *invocations[i].command;
        promise(change, command, invocations[i].arguments);
        outcome = changeBy(change, command, invocations[i].arguments);
        outcome = change.fault().ok() ? outcome : change.fault();
        if (outcome.upToDate && change.settings().ensure) {
            outcome = done();
        }
        if (tellsEach) {
            change.output().endCommand(command.words, outcome, outcome.ok() && change.staged() != before);
        }
        outcome = named(std::move(outcome), invocations, i);
        if (outcome.ok() && i + 1 < invocations.size()) {
            change.next();
        }
    }
    return outcome;
}

Outcome conclude(const Settings& settings, Output& output, Outcome outcome) {
    if (!outcome.ok()) {
        output.clear();
    } else if (!output.changed()) {
        output.note("already up to date");
    } else if (settings.dryRun) {
        output.note("a dry run: nothing is changed");
    }
    if (outcome.ok() && settings.dryRun && settings.detailedExit && output.changed()) {
        return {Status::WouldChange, {}, false};
    }
    return outcome;
}

Outcome runChanges(Session& session, std::vector<Invocation> invocations, const std::string& fingerprint) {
    Output& output = session.output;
    Outcome outcome = takeSecrets(invocations, output);
    if (!outcome.ok()) {
        return outcome;
    }
    const auto text = fingerprint.empty() ? handedText(session, invocations) : std::nullopt;
    if (!text) {
        return runAlone(session, invocations, fingerprint, {});
    }
    auto turn = waitForTurn(session, *text);
    if (!turn.ok()) {
        return turn.outcome();
    }
    auto made = turn->answer ? std::move(turn->answer) : runWithOthers(session, *text, *turn);
    if (!made) {
        return runAlone(session, invocations, fingerprint, std::move(turn->lock));
    }
    output.tellAs(made->told);
    return made->outcome;
}

Outcome runCommand(Session& session, const Command& command, Arguments arguments) {
    if (session.settings.configuration.empty()) {
        auto found = findConfiguration();
        if (!found.ok()) {
            return found.outcome();
        }
        session.settings.configuration = std::move(*found);
    }
    if (command.words != "confirm") {
        static_cast<void>(takeBackOverdue(session));
    }
    if (const Batch* batch = std::get_if<Batch>(&command.action)) {
        return batch->run(session, arguments);
    }
    return command.changes() ? runChanges(session, {{&command, std::move(arguments)}})
                             : read(session, command, arguments);
}

}  // namespace zpweb
