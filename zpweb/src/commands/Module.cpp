// Modules of the server.
#include "ApacheHelper.h"
#include "commands/Common.h"
#include "commands/Groups.h"
#include "conf/Line.h"
#include "input/Quoted.h"

namespace zpweb {

namespace {

Outcome show(Session& session, const Arguments& arguments) {
    const auto configuration = session.load();
    if (!configuration.ok()) {
        return configuration.outcome();
    }
    const std::string name = arguments.one("MODULE");
    const std::string main = configuration->main().path();
    ApacheHelper helper;
    bool loaded = false;
    bool installed = false;
    quietly(session.output, [&] {
        return helper.Apache_checkModule(main, name + "_module", loaded) +
               helper.Apache_checkModulePhysicalPath(main, name, installed);
    });
    session.output.set("module", name);
    session.output.set("loaded", loaded);
    session.output.set("installed", installed);
    if (arguments.has("--site")) {
        const auto place = findRunning(*configuration, arguments.one("--site"));
        if (!place.ok()) {
            return place.outcome();
        }
        session.output.set("in_site", quietly(session.output, [&] {
                               return helper.Apache_isModuleExistsInVH(
                                   place->file->path(), std::string(place->block->name), "mod_" + name);
                           }));
    }
    return done();
}

Outcome load(Transaction& change, const Arguments& arguments) {
    const std::string name = arguments.one("MODULE");
    const std::string main = change.configuration().main().path();
    ApacheHelper helper;
    bool loaded = false;
    static_cast<void>(quietly(change.output(),
                              [&] { return helper.Apache_checkModule(main, name + "_module", loaded); }));
    change.output().set("module", name);
    if (loaded) {
        return done();
    }
    Edit edit;
    edit.file = main;
    edit.bound = bound::Module;
    edit.scope = [](const ConfigurationFile& file) { return Scope::additions(file.lines()); };
    edit.operation = [&](const std::string& staged) {
        return ApacheHelper().Apache_addModule(staged, name);
    };
    edit.meaning = [](int result) { return resultOf("Apache_addModule", result, {0}); };
    return change.edit(edit);
}

Outcome removeBlock(Transaction& change, const Arguments& arguments) {
    const auto place = findRunning(change.configuration(), arguments.one("SITE"));
    if (!place.ok()) {
        return place.outcome();
    }
    const std::string site(place->block->name);
    const std::string module = "mod_" + arguments.one("MODULE");
    Edit edit;
    edit.file = place->file->path();
    edit.bound = bound::ModuleBlock;
    edit.scope = [&](const ConfigurationFile& file) {
        return sectionScope(file, site, [&](std::string_view text) {
            return zp::conf::beginsIgnoringCase(text, zp::conf::keyword::IfModule) &&
                   zp::conf::contains(text, module);
        });
    };
    edit.operation = [&](const std::string& staged) {
        return ApacheHelper().Apache_DeleteVhIfmoduleBlock(staged, site, module);
    };
    edit.meaning = [](int result) { return resultOf("Apache_DeleteVhIfmoduleBlock", result, {0}); };
    return change.edit(edit);
}

}  // namespace

std::vector<Command> moduleCommands() {
    const Parameter module{"MODULE", Kind::Word, "", "Its name, such as \"rewrite\"", true};
    return {
        {"module show",
         "Tell whether a module is loaded and installed",
         {module, {"--site", Kind::HostName, "SITE", "Also tell whether this website has a block for it"}},
         {"ApacheHelper::Apache_checkModule", "ApacheHelper::Apache_checkModulePhysicalPath",
          "ApacheHelper::Apache_isModuleExistsInVH"},
         show},
        {"module load", "Load a module", {module}, {"ApacheHelper::Apache_addModule"}, nullptr, load},
        {"module unblock",
         "Delete a website's <IfModule> block for a module",
         {{"SITE", Kind::HostName, "", "The site's name", true}, module},
         {"ApacheHelper::Apache_DeleteVhIfmoduleBlock"},
         nullptr,
         removeBlock},
    };
}

}  // namespace zpweb
