// suphp on: runs PHP as a site's owner.
#include "commands/Commands.h"
#include "commands/shared/Operation.h"
#include "commands/shared/Scopes.h"
#include "commands/shared/SuPhpSwitch.h"
#include "conf/Line.h"

namespace zpweb {

namespace {

const SuPhpSwitch Switch{
    .on = true, .operation = "EnableSuPhp", .call = [](CZPWebsite& website, const std::string& name) {
        return website.EnableSuPhp(name, SuPhpModule);
    }};

// Server-level lines that switch suPHP.
Scope engineScope(const ConfigurationFile& file) {
    Scope scope = additionsScope(file);
    for (size_t i = 0; i < scope.lines.size(); ++i) {
        scope.mayChange[i] = file.blockAt(i) == nullptr &&
                             zp::conf::beginsIgnoringCase(textOf(scope.lines[i]), "suPHP_Engine");
    }
    return scope;
}

Outcome switchServer(Transaction& change) {
    Edit edit = serverSuPhpEdit(change, true);
    edit.scope = engineScope;
    edit.operation = [](const std::string& staged) {
        return CZPWebsite(nullptr, staged.c_str()).EnableSuPhpGlobally(SuPhpModule);
    };
    edit.meaning = expecting("EnableSuPhpGlobally", {0});
    return change.edit(edit);
}

Outcome turnSuphpOn(Transaction& change, const Arguments& given) {
    const auto name = given[AnySite];
    if (!name) {
        return switchServer(change);
    }
    const auto site = findRunning(change.configuration(), *name);
    return site.ok() ? switchSuPhp(change, *site, Switch) : site.outcome();
}

}  // namespace

Command suphpOn() {
    return {
        .words = "suphp on",
        .summary = "Run PHP as the site's owner",
        .action = turnSuphpOn,
        .parameters = {AnySite},
        .operations = {"CZPWebsite::EnableSuPhp", "CZPWebsite::EnableSuPhpGlobally"},
        .examples = {"suphp on shop.example"},
        .panelOnly = true,
    };
}

}  // namespace zpweb
