// module show: tells whether a module is loaded and installed.
#include "ApacheHelper.h"
#include "commands/Commands.h"
#include "commands/shared/Modules.h"
#include "commands/shared/Operation.h"

namespace zpweb {

namespace {

constexpr auto OfSite =
    option("--site", Kind::Site, "SITE", "Also tell whether this website has a block for it");

Outcome showModules(Session& session, const Configuration& configuration, const Arguments& given) {
    const std::string name = given[Module];
    const std::string main = configuration.main().path();
    ApacheHelper helper;
    bool installed = false;
    quietly(session.output, [&] { return helper.Apache_checkModulePhysicalPath(main, name, installed); });
    session.output.set("module", name);
    const auto running = session.settings.check ? loadedModules(configuration) : std::nullopt;
    session.output.set("loaded", running ? running->contains(name + "_module")
                                         : isLoaded(configuration, name, session.output));
    const std::string place = placeOfModule(configuration, name);
    session.output.set("place", known(place));
    session.output.set("installed", installed);
    const auto wanted = given[OfSite];
    if (!wanted) {
        return done();
    }
    const auto site = findRunning(configuration, *wanted);
    if (!site.ok()) {
        return site.outcome();
    }
    const bool inSite = quietly(session.output, [&] {
        return helper.Apache_isModuleExistsInVH(site->first().file->path(), site->name(), "mod_" + name);
    });
    session.output.set("in_site", inSite || !otherwiseNamed(site->first(), name).empty());
    return done();
}

}  // namespace

Command moduleShow() {
    return {
        .words = "module show",
        .summary = "Tell whether a module is loaded and installed",
        .action = showModules,
        .parameters = {Module, OfSite},
        .operations = {"ApacheHelper::Apache_checkModule", "ApacheHelper::Apache_checkModulePhysicalPath",
                       "ApacheHelper::Apache_isModuleExistsInVH"},
        .examples = {"module show rewrite", "module show suphp --site shop.example"},
    };
}

}  // namespace zpweb
