#include "commands/table/Overdue.h"

#include <unistd.h>

#include <algorithm>

#include "commands/table/Run.h"
#include "commands/table/Table.h"
#include "store/Unconfirmed.h"
#include "sys/File.h"

namespace zpweb {

namespace {

bool waits(const State& state, int checkpoint) {
    const auto all = unconfirmedOf(state);
    return !all.ok() || std::any_of(all->begin(), all->end(),
                                    [&](const Unconfirmed& each) { return each.checkpoint == checkpoint; });
}

// As a run of its own, with what the change was made with.
Outcome takeBack(const Session& session, const Unconfirmed& overdue) {
    Settings settings;
    settings.configuration = session.settings.configuration;
    settings.lockTimeout = session.settings.lockTimeout;
    settings.quiet = true;
    settings.check = overdue.check;
    settings.reload = overdue.reload;
    settings.allowImpact = true;
    settings.leaveEdited = true;  // no owner keeps the others' part from being taken back
    settings.allowLogLinks = overdue.allowLogLinks;
    const std::string number = std::to_string(overdue.checkpoint);
    Output output(settings, "undo");
    Session undoing{settings, output, {"undo", number, "(not confirmed in time)"}};
    const Command& undo = *findCommand("undo");
    auto arguments = Arguments::from(undo, {{"CHECKPOINT", {number}}});
    return arguments.ok() ? runChanges(undoing, {{&undo, std::move(*arguments)}}) : arguments.outcome();
}

}  // namespace

std::vector<int> takeBackOverdue(Session& session) {
    std::vector<int> taken;
    const auto main = realPathOf(session.settings.configuration);
    const State state(main.ok() ? *main : "");
    if (!main.ok() || ::geteuid() != 0 || !exists(state.unconfirmed())) {
        return taken;
    }
    auto all = unconfirmedOf(state);
    if (!all.ok()) {
        session.output.warning("which changes were not confirmed in time is not known: " +
                               all.outcome().message);
        return taken;
    }
    std::reverse(all->begin(), all->end());
    for (const Unconfirmed& each : *all) {
        const std::string name = "checkpoint " + std::to_string(each.checkpoint);
        if (!each.isOverdue()) {
            continue;
        }
        if (session.settings.dryRun) {
            session.output.warning(name +
                                   " was not confirmed in time; the next change takes it back first");
            continue;
        }
        const Outcome back = takeBack(session, each);
        if (back.ok() || !waits(state, each.checkpoint)) {
            taken.push_back(each.checkpoint);
            session.output.note(name + " was not confirmed in time and is taken back");
        } else {
            const std::string number = std::to_string(each.checkpoint);
            session.output.warning(
                name + " was not confirmed in time and cannot be taken back: " + back.message +
                "; \"undo " + number + "\" shows what is in its way, \"confirm " + number + "\" keeps it");
        }
    }
    return taken;
}

}  // namespace zpweb
