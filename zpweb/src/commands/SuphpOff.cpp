// suphp off: stops running PHP as a site's owner.
#include "commands/Commands.h"
#include "commands/shared/Operation.h"
#include "commands/shared/Scopes.h"
#include "commands/shared/SuPhpSwitch.h"
#include "conf/Line.h"

namespace zpweb {

namespace {

const SuPhpSwitch Switch{
    .on = false, .operation = "DisableSuPhp", .call = [](CZPWebsite& website, const std::string& name) {
        return website.DisableSuPhp(name, SuPhpModule);
    }};

// Server-level lines about suPHP, the ends of its sections, and what switches it on in a block.
Scope removalScope(const ConfigurationFile& file) {
    Scope scope = additionsScope(file);
    const LineTest opens = opensModule(SuPhpModule);
    bool inModule = false;
    for (size_t i = 0; i < scope.lines.size(); ++i) {
        const std::string_view text = textOf(scope.lines[i]);
        const bool ends = zp::conf::beginsIgnoringCase(text, zp::conf::keyword::IfModuleEndTag);
        const bool outside = file.blockAt(i) == nullptr;
        inModule = inModule || (outside && opens(text));
        const bool own = outside || zp::conf::beginsIgnoringCase(text, "suPHP_Engine On");
        scope.mayChange[i] = (isSuPhpLine(text) && own) || (inModule && ends);
        inModule = inModule && !ends;
    }
    return scope;
}

Outcome switchServer(Transaction& change) {
    Edit edit = serverSuPhpEdit(change, false);
    edit.scope = removalScope;
    edit.operation = [](const std::string& staged) {
        return CZPWebsite(nullptr, staged.c_str()).DisableSuPhpGlobally();
    };
    edit.meaning = expecting("DisableSuPhpGlobally", {SuPhpSwitched});
    return change.edit(edit);
}

Outcome turnSuphpOff(Transaction& change, const Arguments& given) {
    const auto name = given[AnySite];
    if (!name) {
        return switchServer(change);
    }
    const auto site = findRunning(change.configuration(), *name);
    return site.ok() ? switchSuPhp(change, *site, Switch) : site.outcome();
}

}  // namespace

Command suphpOff() {
    return {
        .words = "suphp off",
        .summary = "Stop doing that",
        .action = turnSuphpOff,
        .parameters = {AnySite},
        .operations = {"CZPWebsite::DisableSuPhp", "CZPWebsite::DisableSuPhpGlobally"},
        .examples = {"suphp off shop.example"},
        .panelOnly = true,
    };
}

}  // namespace zpweb
