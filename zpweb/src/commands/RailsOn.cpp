// rails on: serves a site by a Rails application.
#include "RubyOnRails.h"
#include "commands/Commands.h"
#include "commands/shared/Operation.h"
#include "commands/shared/RailsRoot.h"
#include "sys/File.h"

namespace zpweb {

namespace {

constexpr auto Owner = neededOption("--owner", Kind::Account, "ACCOUNT", "The owner of its directories");

Outcome serve(Transaction& change, const Site& site, const Arguments& given) {
    const std::string name = site.name();
    const std::string root(site.first().block->root);
    const auto end = railsEnd(given[Application]);
    if (!end.ok()) {
        return end.outcome();
    }
    if (Outcome one = site.hasOneBlock(); !one.ok()) {
        return one;
    }
    const bool isOn = root.ends_with(*end);
    const std::string directory = isOn ? root : directoryOf(root) + *end;
    change.output().set("site", name);
    change.output().set("root", directory);
    if (isOn) {
        return done();
    }
    Edit edit = railsEdit(site, directory);
    edit.makes = {directoryOf(directory), directory};
    edit.operation = [&](const std::string& staged) {
        return RubyOnRails(nullptr, staged).defaultToROR(name, given[Application], given[Owner]);
    };
    edit.meaning = expecting("defaultToROR", {0});
    return change.edit(edit);
}

}  // namespace

Command railsOn() {
    return {
        .words = "rails on",
        .summary = "Serve a website by a Rails application",
        .action = serve,
        .parameters = {SiteName, Application, Owner},
        .operations = {"RubyOnRails::defaultToROR"},
        .examples = {"rails on shop.example store --owner anna"},
        .panelOnly = true,
    };
}

}  // namespace zpweb
