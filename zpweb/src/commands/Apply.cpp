// apply: many commands as one change, or the sites of a document.
#include "commands/Commands.h"
#include "commands/shared/CommandLines.h"
#include "commands/shared/Desired.h"

namespace zpweb {

namespace {

constexpr auto File = maybe("FILE", Kind::InputFile, "JSON lines; \"-\" for standard input");
constexpr auto StateFile = option("--state", Kind::InputFile, "FILE",
                                  "Instead, make the sites what this document says (see export)");
constexpr auto PlanFile = option("--plan", Kind::InputFile, "FILE",
                                 "With --state: only what \"plan --json\" has written into this file");

Outcome applyLines(Session& session, const std::string& file) {
    const auto text = inputText(file);
    if (!text.ok()) {
        return text.outcome();
    }
    auto invocations = invocationsFrom(*text, file == "-" ? "standard input" : file);
    if (!invocations.ok()) {
        return invocations.outcome();
    }
    const auto count = static_cast<long>(invocations->size());
    Outcome outcome = runTogether(session, std::move(*invocations));
    session.output.clear();
    if (outcome.ok() || outcome.status == Status::WouldChange) {
        session.output.set("commands", count);
    }
    return outcome;
}

Outcome applyState(Session& session, const Arguments& given, const std::string& file) {
    auto plan = planFrom(session, file, given);
    if (!plan.ok()) {
        return plan.outcome();
    }
    const auto removals = static_cast<int>(plan->removals.size());
    if (removals != given[Removals].value_or(0)) {
        return failure("this deletes " + std::to_string(removals) + " sites, such as " +
                       (plan->removals.empty() ? "none" : plan->removals.front()) +
                       ": confirm it with --confirm-removals " + std::to_string(removals));
    }
    const auto planned = given[PlanFile];
    if (planned) {
        if (Outcome same = isPlanned(*plan, *planned); !same.ok()) {
            return same;
        }
    }
    auto invocations = invocationsOf(*plan);
    if (!invocations.ok()) {
        return invocations.outcome();
    }
    Outcome outcome =
        plan->commands.empty() ? done() : runTogether(session, std::move(*invocations), plan->fingerprint);
    session.output.clear();
    showPlan(session.output, *plan);
    return outcome;
}

Outcome apply(Session& session, const Arguments& given) {
    const auto file = given[File];
    const auto state = given[StateFile];
    if (file.has_value() == state.has_value()) {
        return failure(Status::Usage, "apply: expected a FILE of JSON lines, or --state FILE");
    }
    return file ? applyLines(session, *file) : applyState(session, given, *state);
}

}  // namespace

Command applyCommands() {
    return {
        .words = "apply",
        .summary = "Run many commands as one change: one check, one commit, one reload",
        .action = Batch{apply},
        .parameters = {File, StateFile, PlanFile, Exclusive, Removals},
        .more =
            "Each line is an object such as {\"command\": \"site create\", \"arguments\": "
            "[\"example.com\"], \"options\": {\"address\": \"192.0.2.1\", \"owner\": \"web\"}}. A "
            "password is given as \"password\". Each command sees what those before it do; when one fails, "
            "none is done. With --state the commands are those that \"plan\" shows for the document, and "
            "they are run only on the configuration that they were made for.",
        .examples = {"apply changes.jsonl --dry-run --diff", "apply - --json",
                     "apply --state sites.json --diff"},
    };
}

}  // namespace zpweb
