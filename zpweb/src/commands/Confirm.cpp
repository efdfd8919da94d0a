// confirm: lets a change stand that would be taken back by itself.
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <thread>

#include "commands/Commands.h"
#include "commands/table/Overdue.h"
#include "store/AuditLog.h"
#include "store/Checkpoints.h"
#include "store/Lock.h"
#include "store/Unconfirmed.h"
#include "sys/File.h"

namespace zpweb {

namespace {

constexpr auto Number =
    maybeNumber("CHECKPOINT", "Its number in the history (default: all that wait for a confirmation)");
constexpr auto TakeBack = flag("--overdue", "Confirm nothing: take back what was not confirmed in time");
constexpr auto Wait = flag("--wait", "With --overdue: until no change waits for a confirmation");

std::chrono::seconds untilNext(const std::vector<Unconfirmed>& all) {
    const auto next = std::min_element(
        all.begin(), all.end(),
        [](const Unconfirmed& a, const Unconfirmed& b) { return a.deadline < b.deadline; });
    return std::chrono::seconds{next->deadline + 1 - std::time(nullptr)};
}

// Until each is confirmed or taken back. What goes wrong for a moment is tried again; what cannot be taken
// back then is left to the next command.
Outcome watch(Session& session, const State& state) {
    constexpr int Attempts = 5;
    constexpr std::chrono::seconds Pause{1};
    constexpr std::chrono::seconds Longest{60};  // the clock may be set meanwhile
    for (int failed = 0; failed < Attempts;) {
        const auto all = unconfirmedOf(state);
        if (all.ok() && all->empty()) {
            return done();
        }
        const std::chrono::seconds left = all.ok() ? untilNext(*all) : std::chrono::seconds(0);
        if (left.count() > 0) {
            std::this_thread::sleep_for(std::min(left, Longest));
        } else if (takeBackOverdue(session).empty()) {
            std::this_thread::sleep_for(++failed * Pause);
        }
    }
    return failure("not all that is overdue could be taken back");
}

Outcome noneIsOverdue(const State& state, const std::vector<int>& taken) {
    const auto all = unconfirmedOf(state);
    if (!all.ok()) {
        return all.outcome();
    }
    const bool any = std::any_of(all->begin(), all->end(), [&](const Unconfirmed& each) {
        return each.isOverdue() && std::find(taken.begin(), taken.end(), each.checkpoint) == taken.end();
    });
    return any ? failure("not all that is overdue could be taken back") : done();
}

Expected<std::vector<int>> chosen(const Session& session, const State& state, std::optional<int> number) {
    const auto all = unconfirmedOf(state);
    if (!all.ok()) {
        return all.outcome();
    }
    std::vector<int> waiting;
    for (const Unconfirmed& each : *all) {
        const auto checkpoint = Checkpoint::read(state.checkpoint(each.checkpoint));
        const std::string& label = session.settings.label;
        if (checkpoint && (!number || *number == each.checkpoint) &&
            (label.empty() || label == checkpoint->change.label)) {
            waiting.push_back(each.checkpoint);
        }
    }
    if (waiting.empty()) {
        return failure(Status::NotFound,
                       number ? "checkpoint " + std::to_string(*number) + ": it waits for no confirmation"
                              : "no change waits for a confirmation");
    }
    return waiting;
}

Outcome confirmAll(Session& session, const State& state, const std::vector<int>& numbers) {
    for (const int number : numbers) {
        if (Outcome removed = removeUnconfirmed(state, number); !removed.ok()) {
            return removed;
        }
    }
    Journal journal;
    journal.configuration = state.configuration;
    journal.words = session.words;
    journal.login = loginName();
    session.output.setChanged(true);
    return record(state, journal, done(), false);
}

Outcome tooLate(const std::vector<int>& taken) {
    return failure("too late: checkpoint " + std::to_string(taken.front()) +
                   " was not confirmed in time and is taken back");
}

Outcome confirm(Session& session, const Arguments& given) {
    if (given[TakeBack] && given[Number]) {
        return failure(Status::Usage,
                       "confirm --overdue: it takes back all that is overdue, whatever its "
                       "number; undo CHECKPOINT takes one back");
    }
    const auto main = realPathOf(session.settings.configuration);
    if (!main.ok()) {
        return main.outcome();
    }
    const State state(*main);
    if (given[TakeBack] && given[Wait]) {
        return watch(session, state);
    }
    const std::vector<int> taken = takeBackOverdue(session);
    if (given[TakeBack]) {
        return session.settings.dryRun ? done() : noneIsOverdue(state, taken);
    }
    const auto number = given[Number];
    const bool isTaken = number && std::find(taken.begin(), taken.end(), *number) != taken.end();
    if (isTaken || (!number && !taken.empty())) {
        return tooLate(taken);
    }
    if (const auto waiting = chosen(session, state, number); !waiting.ok()) {
        return waiting.outcome();
    }
    const auto lock = Lock::take(
        state, {session.settings.lockTimeout, [&](const std::string& text) { session.output.note(text); }});
    const auto numbers = lock.ok() ? chosen(session, state, number) : lock.outcome();
    if (!numbers.ok()) {
        return numbers.outcome();
    }
    std::vector<std::string> names;
    std::transform(numbers->begin(), numbers->end(), std::back_inserter(names),
                   [](int each) { return std::to_string(each); });
    session.output.set("confirmed", names);
    return session.settings.dryRun ? done() : confirmAll(session, state, *numbers);
}

}  // namespace

Command confirmChange() {
    return {
        .words = "confirm",
        .summary = "Let changes stand that were made with --confirm-within",
        .action = Batch{confirm},
        .parameters = {Number, TakeBack, Wait},
        .more =
            "A change that is made with --confirm-within is taken back by itself unless this comes in "
            "time: "
            "by a timer of systemd's, or by a process of zpweb's own where systemd does not run. After a "
            "start of the machine the next command takes back what is overdue. With --label only changes "
            "of that label are confirmed.",
        .examples = {"confirm", "confirm 17", "confirm --label move-to-new-address"},
    };
}

}  // namespace zpweb
