// Modules of the server.
#include <algorithm>

#include "ApacheHelper.h"
#include "commands/Find.h"
#include "commands/Groups.h"
#include "commands/Operation.h"
#include "commands/Parameters.h"
#include "commands/Readable.h"
#include "commands/Scopes.h"

namespace zpweb {

namespace {

// The library looks into one file; the server loads its modules from all of its files.
bool isLoaded(const Configuration& configuration, const std::string& name, Output& output) {
    return std::any_of(configuration.files().begin(), configuration.files().end(), [&](const auto& file) {
        const Readable readable(*file);
        bool loaded = false;
        static_cast<void>(quietly(output, [&] {
            return ApacheHelper().Apache_checkModule(readable.path(), name + "_module", loaded);
        }));
        return loaded;
    });
}

Outcome show(Session& session, const Configuration& configuration, const Arguments& arguments) {
    const std::string name = arguments.one("MODULE");
    const std::string main = configuration.main().path();
    ApacheHelper helper;
    bool installed = false;
    quietly(session.output, [&] { return helper.Apache_checkModulePhysicalPath(main, name, installed); });
    session.output.set("module", name);
    session.output.set("loaded", isLoaded(configuration, name, session.output));
    session.output.set("installed", installed);
    if (!arguments.has("--site")) {
        return done();
    }
    const auto place = findRunning(configuration, arguments.one("--site"));
    if (!place.ok()) {
        return place.outcome();
    }
    session.output.set("in_site", quietly(session.output, [&] {
                           return helper.Apache_isModuleExistsInVH(
                               place->file->path(), std::string(place->block->name), "mod_" + name);
                       }));
    return done();
}

Outcome load(Transaction& change, const Arguments& arguments) {
    const std::string name = arguments.one("MODULE");
    change.output().set("module", name);
    if (isLoaded(change.configuration(), name, change.output())) {
        return done();
    }
    Edit edit;
    edit.file = change.configuration().main().path();
    edit.bound = bound::Module;
    edit.scope = additionsScope;
    edit.operation = [&](const std::string& staged) {
        return ApacheHelper().Apache_addModule(staged, name);
    };
    edit.meaning = expecting("Apache_addModule", {0});
    return change.edit(edit);
}

Outcome removeBlock(Transaction& change, const Place& place, const Arguments& arguments) {
    const std::string name(place.block->name);
    const std::string module = "mod_" + arguments.one("MODULE");
    Edit edit;
    edit.file = place.file->path();
    edit.bound = bound::ModuleBlock;
    edit.scope = [&](const ConfigurationFile& file) {
        return sectionScope(file, name, opensModule(module));
    };
    edit.operation = [&](const std::string& staged) {
        return ApacheHelper().Apache_DeleteVhIfmoduleBlock(staged, name, module);
    };
    edit.meaning = expecting("Apache_DeleteVhIfmoduleBlock", {0});
    return change.edit(edit);
}

}  // namespace

std::vector<Command> moduleCommands() {
    const Parameter module = needed("MODULE", Kind::Word, "Its name, such as \"rewrite\"");
    return {
        {"module show",
         "Tell whether a module is loaded and installed",
         show,
         {module,
          option("--site", Kind::HostName, "SITE", "Also tell whether this website has a block for it")},
         {"ApacheHelper::Apache_checkModule", "ApacheHelper::Apache_checkModulePhysicalPath",
          "ApacheHelper::Apache_isModuleExistsInVH"}},
        {"module load", "Load a module", load, {module}, {"ApacheHelper::Apache_addModule"}},
        {"module unblock",
         "Delete a website's <IfModule> block for a module",
         removeBlock,
         {siteName(), module},
         {"ApacheHelper::Apache_DeleteVhIfmoduleBlock"}},
    };
}

}  // namespace zpweb
