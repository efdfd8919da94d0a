// directive insert: inserts a directive at server level.
#include <algorithm>

#include "commands/Commands.h"
#include "commands/shared/Directives.h"
#include "commands/shared/Expectations.h"
#include "commands/shared/Operation.h"
#include "commands/shared/Scopes.h"
#include "conf/Text.h"

namespace zpweb {

namespace {

constexpr auto Before = option("--before", Kind::Text, "DIRECTIVE", "Before the first line that begins so");
constexpr auto After = option("--after", Kind::Text, "DIRECTIVE", "Behind it");
constexpr auto AtLine = numberOption("--line", "NUMBER", "At this line when there is none (1)");

// Of these the server takes one value, of the last line.
bool hasOneValue(const std::string& name) {
    static constexpr std::string_view names[] = {"DocumentRoot",
                                                 "ErrorLog",
                                                 "Group",
                                                 "HostnameLookups",
                                                 "KeepAlive",
                                                 "LimitRequestFields",
                                                 "LimitRequestFieldSize",
                                                 "LimitRequestLine",
                                                 "MaxKeepAliveRequests",
                                                 "KeepAliveTimeout",
                                                 "PidFile",
                                                 "ServerAdmin",
                                                 "ServerName",
                                                 "ServerTokens",
                                                 "Timeout",
                                                 "TraceEnable",
                                                 "UseCanonicalName",
                                                 "User"};
    return isReplaced(name) || std::any_of(std::begin(names), std::end(names), [&](std::string_view each) {
               return zp::conf::equalIgnoringCase(each, name);
           });
}

void expectInserted(Transaction& change, const std::string& name, const std::string& value) {
    expectAdded(change, {}, name, value);
    if (hasOneValue(name)) {
        change.expect(
            "", std::string(AboutBlocks) + "inserted " + lowerCase(name), [=](const Reading& staged) {
                const Outcome counts = inEffect({}, name, value)(staged);
                return counts.ok() ? counts
                                   : failure(counts.message +
                                             " (zpweb directive set changes the line that counts)");
            });
    }
}

Outcome insert(Transaction& change, const Arguments& given) {
    const auto after = given[After];
    const std::string neighbour = after ? *after : given[Before].value_or("");
    expectInserted(change, given[DirectiveName], writtenValue(given));
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
