// plan: what differs between the sites and a document, as the commands that would bring it about.
#include "commands/Commands.h"
#include "commands/shared/CommandLines.h"
#include "commands/shared/Desired.h"

namespace zpweb {

namespace {

constexpr auto File =
    needed("FILE", Kind::InputFile, "A document as export prints it; \"-\" for standard input");

// The commands are tried on a stage, so what a plan shows has passed the server's check.
Outcome showDifference(Session& session, const Arguments& given) {
    auto plan = planFrom(session, given[File], given);
    if (!plan.ok()) {
        return plan.outcome();
    }
    auto invocations = invocationsOf(*plan);
    if (!invocations.ok()) {
        return invocations.outcome();
    }
    session.settings.dryRun = true;
    Outcome outcome =
        plan->commands.empty() ? done() : runTogether(session, std::move(*invocations), plan->fingerprint);
    session.output.clear();
    showPlan(session.output, *plan);
    return outcome;
}

}  // namespace

Command planSites() {
    return {
        .words = "plan",
        .summary = "Show the commands that make the sites what a document says",
        .action = Batch{showDifference},
        .parameters = {File, Exclusive},
        .more =
            "Nothing is changed. A site that the document does not name is left alone, and so is a field "
            "of a site "
            "that it does not name; --diff shows the lines.",
        .examples = {"plan sites.json --diff", "plan sites.json --json --detailed-exitcode"},
    };
}

}  // namespace zpweb
