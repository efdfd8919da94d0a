// suPHP, for a site or the whole server.
#include "CZPWebsite.h"
#include "commands/Find.h"
#include "commands/Groups.h"
#include "commands/Operation.h"
#include "commands/Parameters.h"
#include "commands/Scopes.h"
#include "conf/Line.h"
#include "sys/File.h"

namespace zpweb {

namespace {

constexpr const char* Module = "mod_suphp";
constexpr int Switched = 96;

Outcome switchSite(Transaction& change, const Place& place, bool on) {
    const std::string name(place.block->name);
    const LineTest opens = opensModule(Module);
    change.output().set("site", name);
    if (blockHas(place, opens) == on) {
        return done();
    }
    Edit edit;
    edit.file = place.file->path();
    edit.bound = bound::SuPhp;
    edit.scope = [&](const ConfigurationFile& file) { return sectionScope(file, name, opens); };
    edit.operation = [&](const std::string& staged) {
        CZPWebsite website(nullptr, staged.c_str());
        return on ? website.EnableSuPhp(name, Module) : website.DisableSuPhp(name, Module);
    };
    edit.meaning = expecting(on ? "EnableSuPhp" : "DisableSuPhp", {Switched});
    edit.look = [&](std::string_view made) {
        return anyLine(made, opens) == on
                   ? done()
                   : failure("the library found no place for it: it looks for \"ServerName " + name +
                             "\" and CustomLog");
    };
    return change.edit(edit);
}

bool isSuPhpLine(std::string_view text) {
    return zp::conf::contains(text, "suphp") || zp::conf::contains(text, "suPHP");
}

// Server-level lines: those about suPHP, and the ends of its sections.
Scope serverScope(const ConfigurationFile& file, bool on) {
    Scope scope = additionsScope(file);
    const LineTest opens = opensModule(Module);
    bool inModule = false;
    for (size_t i = 0; i < scope.lines.size(); ++i) {
        const std::string_view text = textOf(scope.lines[i]);
        const bool ends = zp::conf::beginsIgnoringCase(text, zp::conf::keyword::IfModuleEndTag);
        const bool outside = file.blockAt(i) == nullptr;
        inModule = inModule || (outside && opens(text));
        if (on) {
            scope.mayChange[i] = outside && zp::conf::beginsIgnoringCase(text, "suPHP_Engine");
        } else {
            const bool own = outside || zp::conf::beginsIgnoringCase(text, "suPHP_Engine On");
            scope.mayChange[i] = (isSuPhpLine(text) && own) || (inModule && ends);
        }
        inModule = inModule && !ends;
    }
    return scope;
}

Outcome switchServer(Transaction& change, bool on) {
    Edit edit;
    edit.file = change.configuration().main().path();
    edit.bound = bound::SuPhpGlobal;
    edit.scope = [on](const ConfigurationFile& file) { return serverScope(file, on); };
    edit.operation = [on](const std::string& staged) {
        CZPWebsite website(nullptr, staged.c_str());
        return on ? website.EnableSuPhpGlobally(Module) : website.DisableSuPhpGlobally();
    };
    edit.meaning =
        on ? expecting("EnableSuPhpGlobally", {0}) : expecting("DisableSuPhpGlobally", {Switched});
    return change.edit(edit);
}

Outcome switchEither(Transaction& change, const Arguments& arguments) {
    const bool on = arguments.verb == "on";
    if (!arguments.has("SITE")) {
        return switchServer(change, on);
    }
    const auto place = findRunning(change.configuration(), arguments.one("SITE"));
    return place.ok() ? switchSite(change, *place, on) : place.outcome();
}

Outcome install(Transaction& change, const Arguments& arguments) {
    constexpr const char* Source = "/usr/local/zeplarpanel/config/suphp";
    if (!isFolder(Source)) {
        return failure(Status::NotFound, std::string(Source) + ": no such folder; nothing to install from");
    }
    if (!isFolder(arguments.one("WEBSPACE")) || !isFile(arguments.one("PHP"))) {
        return failure(Status::NotFound,
                       "expected the folder of the sites and the PHP program, which are there");
    }
    const std::string main = change.configuration().main().path();
    change.afterwards([main, arguments, &change] {
        CZPWebsite website(nullptr, main.c_str());
        const int result = quietly(change.output(), [&] {
            return website.ConfigureSuPhp(main, arguments.one("WEBSPACE"), arguments.one("PHP"), "");
        });
        return resultOf("ConfigureSuPhp", result, {0});
    });
    for (const char* file : {"/usr/local/sbin/suphp", "/usr/local/etc/suphp.conf", "/var/log/suphp"}) {
        change.output().set(file, exists(file) ? "there already" : "new");
    }
    return done();
}

}  // namespace

std::vector<Command> suPhpCommands() {
    const Parameter anySite =
        maybe("SITE", Kind::HostName, "The site's name; without one, the whole server");
    return {
        {"suphp install",
         "Install suPHP on this host",
         install,
         {needed("WEBSPACE", Kind::Path, "The folder of the sites"),
          needed("PHP", Kind::Path, "The PHP program")},
         {"CZPWebsite::ConfigureSuPhp"},
         "What it installs is not taken back by \"undo\"."},
        {"suphp on",
         "Run PHP as the site's owner",
         switchEither,
         {anySite},
         {"CZPWebsite::EnableSuPhp", "CZPWebsite::EnableSuPhpGlobally"}},
        {"suphp off",
         "Stop doing that",
         switchEither,
         {anySite},
         {"CZPWebsite::DisableSuPhp", "CZPWebsite::DisableSuPhpGlobally"}},
    };
}

}  // namespace zpweb
