// limits on: restricts the handlers on CloudLinux.
#include <algorithm>

#include "CZPWebsite.h"
#include "commands/Commands.h"
#include "commands/shared/Operation.h"
#include "commands/shared/Scopes.h"
#include "conf/Text.h"
#include "text/Statements.h"

namespace zpweb {

namespace {

Outcome restrictHandlers(Transaction& change, const Arguments&) {
    const ConfigurationFile& main = change.configuration().main();
    const auto has = [&](std::string_view directive, std::string_view word) {
        const auto& files = change.configuration().files();
        return std::any_of(files.begin(), files.end(), [&](const auto& file) {
            const Statements statements(file->content().text());
            return std::any_of(statements.begin(), statements.end(), [&](const Statement& statement) {
                return statement.is(directive) && zp::conf::contains(statement.arguments, word);
            });
        });
    };
    if (has("AllowedHandlers", "")) {
        return done();  // already so; the library would add a second block
    }
    if (!has("LoadModule", "hostinglimits")) {
        return failure(Status::NotFound, main.path() + " loads no hostinglimits module");
    }
    Edit edit;
    edit.file = main.path();
    edit.bound = bound::HostingLimits;
    edit.scope = additionsScope;
    edit.operation = [](const std::string& staged) {
        return CZPWebsite(nullptr, staged.c_str()).EnableHostingLimits();
    };
    edit.meaning = expecting("EnableHostingLimits", {0});
    return change.edit(edit);
}

}  // namespace

Command limitsOn() {
    return {
        .words = "limits on",
        .summary = "Restrict the handlers on CloudLinux",
        .action = restrictHandlers,
        .operations = {"CZPWebsite::EnableHostingLimits"},
        .examples = {"limits on"},
        .panelOnly = true,
    };
}

}  // namespace zpweb
