// Script handlers: Perl, PHP's open_basedir, Rails.
#include "CZPWebsite.h"
#include "RubyOnRails.h"
#include "commands/Groups.h"
#include "commands/Operation.h"
#include "commands/Parameters.h"
#include "commands/Scopes.h"
#include "conf/Line.h"
#include "input/Quoted.h"
#include "sys/File.h"

namespace zpweb {

namespace {

// --- Perl ---

constexpr const char* PerlScratch = "/etc/tempapa1";

bool isPerlHandler(std::string_view text) {
    return zp::conf::equalIgnoringCase(zp::conf::trimEnd(text), "AddHandler cgi-script cgi pl");
}

Outcome perl(Transaction& change, const Place& place, const Arguments& arguments) {
    const bool on = arguments.verb == "on";
    const std::string name(place.block->name);
    if (blockHas(place, isPerlHandler) == on) {
        return done();
    }
    Edit edit;
    edit.file = place.file->path();
    edit.bound = bound::Handler;
    edit.scratch = {PerlScratch};
    edit.scope = [&](const ConfigurationFile& file) { return siteScope(file, name, isPerlHandler); };
    edit.operation = [&](const std::string& staged) {
        CZPWebsite website(nullptr, staged.c_str());
        return on ? website.EnablePerl(name) : website.DisablePerl(name);
    };
    edit.meaning = expecting(on ? "EnablePerl" : "DisablePerl", {0});
    edit.look = [&](std::string_view made) {
        return anyLine(made, isPerlHandler) == on
                   ? done()
                   : failure(Status::NotFound, "site " + inQuotes(name) +
                                                   " has no block for its document root: see vdir create");
    };
    change.output().set("site", name);
    return change.edit(edit);
}

// --- open_basedir ---

constexpr int BaseDirChanged = 96;

// The library keeps one php_admin_value line a folder, whatever it sets. Others than open_basedir stay.
bool isBaseDir(std::string_view text) {
    return zp::conf::beginsIgnoringCase(text, "php_admin_value") &&
           zp::conf::contains(text, "open_basedir");
}

Outcome baseDir(Transaction& change, const Place& place, const Arguments& arguments) {
    const bool on = arguments.verb == "on";
    const std::string name(place.block->name);
    const std::string folder = arguments.one("FOLDER");
    if (!blockHas(place, opensFolder(folder))) {
        return failure(Status::NotFound, folder + " has no block in this site: see vdir create");
    }
    Edit edit;
    edit.file = place.file->path();
    edit.bound = bound::Handler;
    edit.scope = [&](const ConfigurationFile& file) { return siteScope(file, name, isBaseDir); };
    edit.operation = [&](const std::string& staged) {
        CZPWebsite website(nullptr, staged.c_str());
        return on ? website.Enable_open_basedir(name, folder) : website.Disable_open_basedir(name, folder);
    };
    edit.meaning = expecting(on ? "Enable_open_basedir" : "Disable_open_basedir", {BaseDirChanged});
    change.output().set("site", name);
    return change.edit(edit);
}

// --- Rails ---

// The sections of the folder, and the document root.
Scope railsScope(const ConfigurationFile& file, const std::string& name, const std::string& folder) {
    Scope scope = sectionScope(file, name, opensFolder(folder));
    allowLines(scope, beginsWithAny({"DocumentRoot"}));
    return scope;
}

Outcome rails(Transaction& change, const Place& place, const Arguments& arguments) {
    const bool on = arguments.verb == "on";
    const std::string name(place.block->name);
    const std::string application = arguments.one("APPLICATION");
    if (application.find_first_of("/.") != std::string::npos) {
        return failure(Status::Usage, "application " + inQuotes(application) +
                                          ": it has a slash or a dot; expected the name of a folder");
    }
    const std::string root(place.block->root);
    const std::string end = "/" + application + "/public";
    const std::string folder = on ? folderOf(root) + end : root;
    change.output().set("site", name);
    change.output().set("root", folder);
    if (root.ends_with(end) == on) {
        return done();
    }
    Edit edit;
    edit.file = place.file->path();
    edit.bound = bound::Directive;
    if (on) {
        edit.makes = {folderOf(folder), folder};
    }
    edit.scope = [&](const ConfigurationFile& file) { return railsScope(file, name, folder); };
    edit.operation = [&](const std::string& staged) {
        RubyOnRails manager(nullptr, staged);
        return on ? manager.defaultToROR(name, application, arguments.one("--owner"))
                  : manager.RORToDefault(name, application);
    };
    edit.meaning = expecting(on ? "defaultToROR" : "RORToDefault", {0});
    return change.edit(edit);
}

}  // namespace

std::vector<Command> handlerCommands() {
    const Parameter folder = needed("FOLDER", Kind::Path, "The folder");
    const Parameter application = needed("APPLICATION", Kind::Word, "The application's folder name");
    return {
        {"perl on", "Run a website's Perl and CGI scripts", perl, {siteName()}, {"CZPWebsite::EnablePerl"}},
        {"perl off", "Stop running them", perl, {siteName()}, {"CZPWebsite::DisablePerl"}},
        {"basedir on",
         "Keep PHP within a folder",
         baseDir,
         {siteName(), folder},
         {"CZPWebsite::Enable_open_basedir"}},
        {"basedir off", "Lift that", baseDir, {siteName(), folder}, {"CZPWebsite::Disable_open_basedir"}},
        {"rails on",
         "Serve a website by a Rails application",
         rails,
         {siteName(), application,
          neededOption("--owner", Kind::Account, "ACCOUNT", "The owner of its folders")},
         {"RubyOnRails::defaultToROR"}},
        {"rails off",
         "Serve its files again",
         rails,
         {siteName(), application},
         {"RubyOnRails::RORToDefault"}},
    };
}

}  // namespace zpweb
