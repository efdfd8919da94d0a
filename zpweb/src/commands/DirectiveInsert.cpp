// directive insert: inserts a directive at server level.
#include "commands/Commands.h"
#include "commands/shared/Directives.h"
#include "commands/shared/Operation.h"
#include "commands/shared/Scopes.h"

namespace zpweb {

namespace {

constexpr auto Before = option("--before", Kind::Text, "DIRECTIVE", "Before the first line that begins so");
constexpr auto After = option("--after", Kind::Text, "DIRECTIVE", "Behind it");
constexpr auto AtLine = numberOption("--line", "NUMBER", "At this line when there is none (1)");

Outcome insert(Transaction& change, const Arguments& given) {
    const auto after = given[After];
    const std::string neighbour = after ? *after : given[Before].value_or("");
    expectAdded(change, {}, given[DirectiveName], writtenValue(given));
    return runOn(change, {change.configuration().main().path(), ""},
                 {"Apache_writeDirective", bound::AddDirective, additionsScope,
                  [&](ApacheHelper& helper, const std::string& staged) {
                      return helper.Apache_writeDirective(staged, wholeLine(given), neighbour,
                                                          !after.has_value(), given[AtLine].value_or(1));
                  }});
}

}  // namespace

Command directiveInsert() {
    return {
        .words = "directive insert",
        .summary = "Insert a directive at server level",
        .action = insert,
        .parameters = {DirectiveName, DirectiveValue, Quoted, Before, After, AtLine},
        .operations = {"ApacheHelper::Apache_writeDirective"},
        .examples = {"directive insert ServerTokens Prod --before Timeout"},
    };
}

}  // namespace zpweb
