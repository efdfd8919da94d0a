// Script handlers, hosting limits and logs.
#include <sys/stat.h>

#include "CZPWebsite.h"
#include "RubyOnRails.h"
#include "commands/Common.h"
#include "commands/Groups.h"
#include "conf/Line.h"
#include "input/Quoted.h"
#include "sys/File.h"
#include "sys/Number.h"

namespace zpweb {

namespace {

constexpr int Done96 = 96;
constexpr const char* PerlScratch = "/etc/tempapa1";

using SiteOperation = std::function<int(CZPWebsite&, const std::string& name)>;

Outcome onSite(Transaction& change, const Place& place, Edit edit, const std::string& operation,
               std::initializer_list<int> good, const SiteOperation& call) {
    const std::string name(place.block->name);
    const std::vector<int> results(good);
    edit.file = place.file->path();
    edit.operation = [name, call](const std::string& staged) {
        CZPWebsite website(nullptr, staged.c_str());
        return call(website, name);
    };
    edit.meaning = [operation, results](int result) {
        return std::find(results.begin(), results.end(), result) != results.end()
                   ? done()
                   : resultOf(operation, result, {});
    };
    change.output().set("site", name);
    return change.edit(edit);
}

bool siteHas(const Place& place, const LineTest& test) {
    for (size_t i = place.block->lines.first; i < place.block->lines.end; ++i) {
        if (test(zp::conf::skipSpace(withoutReturn(place.file->lines()[i])))) {
            return true;
        }
    }
    return false;
}

// --- Perl
// -------------------------------------------------------------------------------------------------

bool isPerlHandler(std::string_view text) {
    return zp::conf::equalIgnoringCase(zp::conf::trimEnd(text), "AddHandler cgi-script cgi pl");
}

Outcome perl(Transaction& change, const Arguments& arguments, bool on) {
    const auto place = findRunning(change.configuration(), arguments.one("SITE"));
    if (!place.ok()) {
        return place.outcome();
    }
    if (siteHas(*place, isPerlHandler) == on) {
        return done();
    }
    Edit edit;
    edit.bound = bound::Handler;
    edit.scratch = {PerlScratch};
    const std::string name(place->block->name);
    edit.scope = [name](const ConfigurationFile& file) { return siteScope(file, name, isPerlHandler); };
    Outcome edited = onSite(change, *place, edit, on ? "EnablePerl" : "DisablePerl", {0},
                            [on](CZPWebsite& website, const std::string& site) {
                                return on ? website.EnablePerl(site) : website.DisablePerl(site);
                            });
    const auto after = findRunning(change.configuration(), name);
    if (edited.ok() && after.ok() && siteHas(*after, isPerlHandler) != on) {
        return failure(Status::NotFound,
                       "site " + inQuotes(name) + " has no block for its document root: see vdir create");
    }
    return edited;
}
Outcome perlOn(Transaction& change, const Arguments& arguments) { return perl(change, arguments, true); }
Outcome perlOff(Transaction& change, const Arguments& arguments) { return perl(change, arguments, false); }

// --- open_basedir
// -----------------------------------------------------------------------------------------

// The library keeps one php_admin_value line a folder, whatever it sets. Others than open_basedir stay.
bool isBaseDir(std::string_view text) {
    return zp::conf::beginsIgnoringCase(text, "php_admin_value") &&
           zp::conf::contains(text, "open_basedir");
}

Outcome baseDir(Transaction& change, const Arguments& arguments, bool on) {
    const auto place = findRunning(change.configuration(), arguments.one("SITE"));
    if (!place.ok()) {
        return place.outcome();
    }
    const std::string name(place->block->name);
    const std::string folder = arguments.one("FOLDER");
    if (!siteHas(*place, opensFolder(folder))) {
        return failure(Status::NotFound, folder + " has no block in this site: see vdir create");
    }
    Edit edit;
    edit.bound = bound::Handler;
    edit.scope = [name](const ConfigurationFile& file) { return siteScope(file, name, isBaseDir); };
    return onSite(change, *place, edit, on ? "Enable_open_basedir" : "Disable_open_basedir", {Done96},
                  [on, folder](CZPWebsite& website, const std::string& site) {
                      return on ? website.Enable_open_basedir(site, folder)
                                : website.Disable_open_basedir(site, folder);
                  });
}
Outcome baseDirOn(Transaction& change, const Arguments& arguments) {
    return baseDir(change, arguments, true);
}
Outcome baseDirOff(Transaction& change, const Arguments& arguments) {
    return baseDir(change, arguments, false);
}

// --- suPHP
// ------------------------------------------------------------------------------------------------

constexpr const char* SuPhpModule = "mod_suphp";
constexpr int BlockTooLong = 87;

bool opensModule(std::string_view text, const std::string& module) {
    return zp::conf::beginsIgnoringCase(text, zp::conf::keyword::IfModule) &&
           zp::conf::contains(text, module);
}

Outcome suPhpOfSite(Transaction& change, const Arguments& arguments, bool on) {
    const auto place = findRunning(change.configuration(), arguments.one("SITE"));
    if (!place.ok()) {
        return place.outcome();
    }
    const std::string name(place->block->name);
    const auto opens = [](std::string_view text) { return opensModule(text, SuPhpModule); };
    if (siteHas(*place, opens) == on) {
        return done();
    }
    Edit edit;
    edit.bound = bound::SuPhp;
    edit.scope = [name, opens](const ConfigurationFile& file) { return sectionScope(file, name, opens); };
    Outcome edited = onSite(change, *place, edit, on ? "EnableSuPhp" : "DisableSuPhp", {Done96},
                            [on](CZPWebsite& website, const std::string& site) {
                                return on ? website.EnableSuPhp(site, SuPhpModule)
                                          : website.DisableSuPhp(site, SuPhpModule);
                            });
    if (!edited.ok()) {
        return edited;
    }
    const auto after = findRunning(change.configuration(), name);
    if (after.ok() && siteHas(*after, opens) != on) {
        return failure("the library found no place for it: it looks for \"ServerName " + name +
                       "\" and CustomLog");
    }
    return done();
}

bool isSuPhpLine(std::string_view text) {
    return zp::conf::contains(text, "suphp") || zp::conf::contains(text, "suPHP");
}

// Server-level lines: those about suPHP, and the ends of its sections.
Scope suPhpScope(const ConfigurationFile& file, bool on) {
    Scope scope = Scope::additions(file.lines());
    bool inModule = false;
    for (size_t i = 0; i < file.lines().size(); ++i) {
        const std::string_view text = zp::conf::skipSpace(withoutReturn(file.lines()[i]));
        const bool ends = zp::conf::beginsIgnoringCase(text, zp::conf::keyword::IfModuleEndTag);
        const bool outside = file.blockAt(i) == nullptr;
        inModule = inModule || (outside && opensModule(text, SuPhpModule));
        scope.mayChange[i] = (on ? outside && zp::conf::beginsIgnoringCase(text, "suPHP_Engine")
                                 : isSuPhpLine(text) && (outside || zp::conf::beginsIgnoringCase(
                                                                        text, "suPHP_Engine On"))) ||
                             (!on && inModule && ends);
        inModule = inModule && !ends;
    }
    return scope;
}

Outcome suPhpOfServer(Transaction& change, bool on) {
    Edit edit;
    edit.file = change.configuration().main().path();
    edit.bound = bound::SuPhpGlobal;
    edit.scope = [on](const ConfigurationFile& file) { return suPhpScope(file, on); };
    edit.operation = [on](const std::string& staged) {
        CZPWebsite website(nullptr, staged.c_str());
        return on ? website.EnableSuPhpGlobally(SuPhpModule) : website.DisableSuPhpGlobally();
    };
    edit.meaning = [on](int result) {
        return resultOf(on ? "EnableSuPhpGlobally" : "DisableSuPhpGlobally", result, {on ? 0 : Done96});
    };
    return change.edit(edit);
}

Outcome suPhpOn(Transaction& change, const Arguments& arguments) {
    return arguments.has("SITE") ? suPhpOfSite(change, arguments, true) : suPhpOfServer(change, true);
}
Outcome suPhpOff(Transaction& change, const Arguments& arguments) {
    return arguments.has("SITE") ? suPhpOfSite(change, arguments, false) : suPhpOfServer(change, false);
}

Outcome suPhpInstall(Transaction& change, const Arguments& arguments) {
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
        change.output().set(nameOf(file), std::string(exists(file) ? "there already: " : "new: ") + file);
    }
    return done();
}

// --- Rails
// ------------------------------------------------------------------------------------------------

Outcome rails(Transaction& change, const Arguments& arguments, bool on) {
    const auto place = findRunning(change.configuration(), arguments.one("SITE"));
    if (!place.ok()) {
        return place.outcome();
    }
    const std::string name(place->block->name);
    const std::string application = arguments.one("APPLICATION");
    if (application.find_first_of("/.") != std::string::npos) {
        return failure(Status::Usage, "application " + inQuotes(application) +
                                          ": it has a slash or a dot; expected the name of a folder");
    }
    const std::string root(place->block->root);
    const std::string end = "/" + application + "/public";
    const bool isOn = root.ends_with(end);
    change.output().set("site", name);
    change.output().set("root", on ? folderOf(root) + end : root);
    if (isOn == on) {
        return done();
    }
    const std::string folder = on ? folderOf(root) + end : root;
    Edit edit;
    edit.file = place->file->path();
    edit.bound = bound::Directive;
    if (on) {
        edit.makes = {folderOf(folder), folder};
    }
    edit.scope = [name, folder](const ConfigurationFile& file) {
        Scope scope = sectionScope(file, name, opensFolder(folder));
        const Scope lines = siteScope(file, name, beginsWithAny({"DocumentRoot"}));
        for (size_t i = 0; i < scope.mayChange.size(); ++i) {
            scope.mayChange[i] = scope.mayChange[i] || lines.mayChange[i];
        }
        return scope;
    };
    edit.operation = [&](const std::string& staged) {
        RubyOnRails manager(nullptr, staged);
        return on ? manager.defaultToROR(name, application, arguments.one("--owner"))
                  : manager.RORToDefault(name, application);
    };
    edit.meaning = [on](int result) { return resultOf(on ? "defaultToROR" : "RORToDefault", result, {0}); };
    return change.edit(edit);
}
Outcome railsOn(Transaction& change, const Arguments& arguments) { return rails(change, arguments, true); }
Outcome railsOff(Transaction& change, const Arguments& arguments) {
    return rails(change, arguments, false);
}

// --- limits and logs
// --------------------------------------------------------------------------------------

Outcome limitsOn(Transaction& change, const Arguments&) {
    const ConfigurationFile& main = change.configuration().main();
    bool loaded = false;
    for (const std::string_view line : main.lines().all) {
        loaded =
            loaded || (zp::conf::contains(line, "LoadModule") && zp::conf::contains(line, "hostinglimits"));
        if (zp::conf::contains(line, "AllowedHandlers")) {
            return done();  // already so; the library would add a second block
        }
    }
    if (!loaded) {
        return failure(Status::NotFound, main.path() + " loads no hostinglimits module");
    }
    Edit edit;
    edit.file = main.path();
    edit.bound = bound::Limits;
    edit.scope = [](const ConfigurationFile& file) { return Scope::additions(file.lines()); };
    edit.operation = [](const std::string& staged) {
        return CZPWebsite(nullptr, staged.c_str()).EnableHostingLimits();
    };
    edit.meaning = [](int result) { return resultOf("EnableHostingLimits", result, {0}); };
    return change.edit(edit);
}

Outcome rotate(Transaction& change, const Arguments& arguments) {
    const auto place = findRunning(change.configuration(), arguments.one("SITE"));
    if (!place.ok()) {
        return place.outcome();
    }
    const std::string name(place->block->name);
    const std::string file = place->file->path();
    std::string log;
    for (size_t i = place->block->lines.first; i < place->block->lines.end && log.empty(); ++i) {
        const zp::conf::Line line(withoutReturn(place->file->lines()[i]));
        if (line.begins(zp::conf::keyword::CustomLog)) {
            log = zp::conf::upTo(line.argumentOf(zp::conf::keyword::CustomLog), " ");
        }
    }
    struct stat status {};
    if (log.empty() || log.front() != '/' || ::stat(log.c_str(), &status) != 0) {
        return failure(Status::NotFound, "site " + inQuotes(name) + " has no access log to rotate");
    }
    const int megabytes = leadingNumber(arguments.one("--size"));
    change.output().set("log", log);
    change.output().set("bytes", status.st_size);
    if (status.st_size / 1048576 < megabytes) {
        return done();  // below the threshold
    }
    change.afterwards([=, &change] {
        CZPWebsite website(nullptr, file.c_str());
        const std::string option = arguments.has("--delete") ? "DEL" : "ZIPandDEL";
        const int result = quietly(change.output(), [&] {
            return website.rotateLog(file, name, std::to_string(megabytes), option);
        });
        return resultOf("rotateLog", result, {1});
    });
    return done();
}

}  // namespace

std::vector<Command> handlerCommands() {
    const Parameter site{"SITE", Kind::HostName, "", "The site's name", true};
    const Parameter anySite{"SITE", Kind::HostName, "", "The site's name; without one, the whole server"};
    const Parameter folder{"FOLDER", Kind::Path, "", "The folder", true};
    const Parameter application{"APPLICATION", Kind::Word, "", "The application's folder name", true};
    return {
        {"perl on",
         "Run a website's Perl and CGI scripts",
         {site},
         {"CZPWebsite::EnablePerl"},
         nullptr,
         perlOn},
        {"perl off", "Stop running them", {site}, {"CZPWebsite::DisablePerl"}, nullptr, perlOff},
        {"basedir on",
         "Keep PHP within a folder",
         {site, folder},
         {"CZPWebsite::Enable_open_basedir"},
         nullptr,
         baseDirOn},
        {"basedir off",
         "Lift that",
         {site, folder},
         {"CZPWebsite::Disable_open_basedir"},
         nullptr,
         baseDirOff},
        {"suphp install",
         "Install suPHP on this host",
         {{"WEBSPACE", Kind::Path, "", "The folder of the sites", true},
          {"PHP", Kind::Path, "", "The PHP program", true}},
         {"CZPWebsite::ConfigureSuPhp"},
         nullptr,
         suPhpInstall,
         "What it installs is not taken back by \"undo\"."},
        {"suphp on",
         "Run PHP as the site's owner",
         {anySite},
         {"CZPWebsite::EnableSuPhp", "CZPWebsite::EnableSuPhpGlobally"},
         nullptr,
         suPhpOn},
        {"suphp off",
         "Stop doing that",
         {anySite},
         {"CZPWebsite::DisableSuPhp", "CZPWebsite::DisableSuPhpGlobally"},
         nullptr,
         suPhpOff},
        {"rails on",
         "Serve a website by a Rails application",
         {site, application, {"--owner", Kind::Account, "ACCOUNT", "The owner of its folders", true}},
         {"RubyOnRails::defaultToROR"},
         nullptr,
         railsOn},
        {"rails off",
         "Serve its files again",
         {site, application},
         {"RubyOnRails::RORToDefault"},
         nullptr,
         railsOff},
        {"limits on",
         "Restrict the handlers on CloudLinux",
         {},
         {"CZPWebsite::EnableHostingLimits"},
         nullptr,
         limitsOn},
        {"log rotate",
         "Pack or delete a website's access log",
         {site,
          {"--size", Kind::Number, "MEGABYTES", "Only a log of at least this size (0)"},
          {"--delete", Kind::Flag, "", "Delete it without packing it"}},
         {"CZPWebsite::rotateLog", "currentTimeStamp"},
         nullptr,
         rotate,
         "It is not taken back by \"undo\"."},
    };
}

}  // namespace zpweb
