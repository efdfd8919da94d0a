// rails off: serves a site's files again.
#include "RubyOnRails.h"
#include "commands/Commands.h"
#include "commands/shared/Operation.h"
#include "commands/shared/RailsRoot.h"

namespace zpweb {

namespace {

Outcome serveFiles(Transaction& change, const Site& site, const Arguments& given) {
    const std::string name = site.name();
    const std::string root(site.first().block->root);
    const auto end = railsEnd(given[Application]);
    if (!end.ok()) {
        return end.outcome();
    }
    if (Outcome one = site.hasOneBlock(); !one.ok()) {
        return one;
    }
    change.output().set("site", name);
    change.output().set("root", root);
    if (!root.ends_with(*end)) {
        return done();
    }
    Edit edit = railsEdit(site, root);
    edit.operation = [&](const std::string& staged) {
        return RubyOnRails(nullptr, staged).RORToDefault(name, given[Application]);
    };
    edit.meaning = expecting("RORToDefault", {0});
    Outcome edited = change.edit(edit);
    const std::vector<Place> places = change.configuration().find(name);
    if (edited.ok() && !places.empty()) {
        change.output().set("root", places.front().block->root);
    }
    return edited;
}

}  // namespace

Command railsOff() {
    return {
        .words = "rails off",
        .summary = "Serve its files again",
        .action = serveFiles,
        .parameters = {SiteName, Application},
        .operations = {"RubyOnRails::RORToDefault"},
        .examples = {"rails off shop.example store"},
        .panelOnly = true,
    };
}

}  // namespace zpweb
