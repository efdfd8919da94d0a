#include "commands/shared/SuPhpSwitch.h"

#include "commands/shared/Modules.h"
#include "commands/shared/Operation.h"
#include "commands/shared/Scopes.h"
#include "conf/Line.h"
#include "server/Postconditions.h"

namespace zpweb {

namespace {

constexpr const char* Engine = "suPHP_Engine";

Outcome serverRunsIt(const Reading& staged) {
    const auto lines = staged.inSection(Directive::None, Engine);
    return lines.empty() || lowerCase(lines.back()->arguments) == "on"
               ? done()
               : notShown(staged.originOf(*lines.back()).text() + " switches it off");
}

Outcome nobodyRunsIt(const Reading& staged) {
    for (const Directive& directive : staged.directives()) {
        if (directive.is(Engine) && lowerCase(directive.arguments) == "on") {
            return notShown(staged.originOf(directive).text() + " switches it on");
        }
    }
    return done();
}

}  // namespace

Outcome switchSuPhp(Transaction& change, const Site& site, const SuPhpSwitch& wanted) {
    const Place& place = site.first();
    const std::string name = site.name();
    const LineTest opens = opensModule(SuPhpModule);
    change.output().set("site", name);
    if (Outcome one = site.hasOneBlock(); !one.ok()) {
        return one;
    }
    if (blockHas(place, opens) == wanted.on) {
        return done();
    }
    Edit edit;
    edit.file = place.file->path();
    edit.bound = bound::SuPhp;
    edit.scope = [&](const ConfigurationFile& file) { return sectionScope(file, name, opens); };
    edit.operation = [&](const std::string& staged) {
        CZPWebsite website(nullptr, staged.c_str());
        return wanted.call(website, name);
    };
    edit.meaning = expecting(wanted.operation, {SuPhpSwitched});
    edit.look = [&](std::string_view made) {
        return anyLine(made, opens) == wanted.on
                   ? done()
                   : failure("the library found no place for it: it looks for \"ServerName " + name +
                             "\" and CustomLog");
    };
    return change.edit(edit);
}

bool isSuPhpLine(std::string_view text) {
    return zp::conf::contains(text, "suphp") || zp::conf::contains(text, "suPHP");
}

Edit serverSuPhpEdit(Transaction& change, bool on) {
    change.expect("", "suphp", on ? serverRunsIt : nobodyRunsIt);
    const auto modules = change.settings().check ? loadedModules(change.configuration()) : std::nullopt;
    if (modules && !modules->contains("suphp_module")) {
        change.output().note("the server has no suphp_module loaded: this counts once it has");
    }
    Edit edit;
    edit.file = change.configuration().main().path();
    edit.bound = bound::SuPhpOnServer;
    return edit;
}

}  // namespace zpweb
