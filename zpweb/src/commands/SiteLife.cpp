// Websites: start, stop, deletion.
#include <algorithm>

#include "CZPVirtualDirectory.h"
#include "CZPWebsite.h"
#include "commands/Find.h"
#include "commands/Groups.h"
#include "commands/Operation.h"
#include "commands/Parameters.h"
#include "commands/Readable.h"
#include "commands/Scopes.h"
#include "input/HostName.h"
#include "input/Quoted.h"
#include "sys/File.h"
#include "sys/GuardedFolder.h"

namespace zpweb {

namespace {

// The blocks of the site in what an operation has made of its part.
std::vector<bool> stoppedBlocks(std::string_view made, const std::string& name) {
    const SameHost matches(name);
    std::vector<bool> stopped;
    for (const Block& block : contentsOf(made).blocks) {
        if (!block.name.empty() && matches(block.name)) {
            stopped.push_back(block.stopped);
        }
    }
    return stopped;
}

Outcome editAll(Transaction& change, const Places& places, Edit edit) {
    Outcome outcome;
    for (const std::string& file : filesOf(places)) {
        edit.file = file;
        outcome = outcome.ok() ? change.edit(edit) : outcome;
    }
    return outcome;
}

// --- delete ---

constexpr char Deleted = 24;

// The site's home, as its block tells: where its folders may be removed from.
Expected<std::string> removableHome(const Configuration& configuration, const Block& block) {
    const std::string home(block.home);
    const std::string name(block.name);
    if (home.size() < 4 || nameOf(home) != name || std::count(home.begin(), home.end(), '/') < 2) {
        return failure("the block of " + name +
                       " names no home of its own; its folders stay: nothing is done");
    }
    const SameHost matches(name);
    for (const auto& file : configuration.files()) {
        for (const Block& each : file->blocks()) {
            if ((std::string(each.root) + "/").starts_with(home + "/") && !matches(each.name)) {
                return failure(home + " is used by site " + std::string(each.name) + ": nothing is done");
            }
        }
    }
    return home;
}

// Below a folder that is held open, so that no link can take its place while it goes.
Outcome removeHome(const std::string& home) {
    if (!isFolder(home)) {
        return done();
    }
    const auto parent = openGuarded(folderOf(home));
    return parent.ok() && RemoveDir(pathIn(*parent, nameOf(home)).c_str()) == 0
               ? done()
               : failure("the site is deleted, but " + home + " could not be removed");
}

Outcome removeFolders(Transaction& change, const Block& block) {
    const auto home = removableHome(change.configuration(), block);
    if (!home.ok()) {
        return home.outcome();
    }
    if (Outcome reached = reachedWithoutForeignLink(*home); !reached.ok()) {
        return reached;
    }
    change.output().set("removed", *home);
    change.afterwards([home = *home] { return removeHome(home); });
    return done();
}

Outcome remove(Transaction& change, const Arguments& arguments) {
    const auto places = findSite(change.configuration(), arguments.one("SITE"));
    if (!places.ok()) {
        return places.outcome();
    }
    const std::string name(places->front().block->name);
    if (arguments.has("--remove-folders")) {
        if (Outcome removable = removeFolders(change, *places->front().block); !removable.ok()) {
            return removable;
        }
    }
    change.output().set("site", name);
    Edit edit;
    edit.bound = bound::Deletion;
    edit.scope = [&](const ConfigurationFile& file) {
        Scope scope = siteScope(file, name);
        scope.takesBlankLine = true;
        return scope;
    };
    edit.operation = [&](const std::string& staged) {
        return CZPWebsite(nullptr, staged.c_str()).DeleteWebsite(name.c_str(), 0);
    };
    edit.meaning = expecting("DeleteWebsite", {Deleted});
    edit.look = [&](std::string_view made) {
        return stoppedBlocks(made, name).empty()
                   ? done()
                   : failure("site " + inQuotes(name) +
                             " cannot be deleted: its ServerName line has more on it");
    };
    return editAll(change, *places, edit);
}

// --- start, stop, status ---

constexpr char Started = 29;
constexpr char Stopped = 30;
constexpr char Running = 34;
constexpr char NotRunning = 33;

// The blocks of the site that are in the other state.
Scope switchScope(const ConfigurationFile& file, const std::string& name, bool stop) {
    std::vector<Block> blocks = blocksOf(file, name);
    std::erase_if(blocks, [stop](const Block& block) { return block.stopped == stop; });
    Scope scope = Scope::ofBlocks(file.content().text(), blocks);
    scope.marks = stop ? Marks::Added : Marks::Removed;
    for (const Range& range : scope.part) {
        scope.allow(range);
    }
    // The start gives up at a line of comment marks alone.
    for (size_t i = 0; !stop && i < scope.lines.size(); ++i) {
        scope.hidden[i] = scope.lines[i].find_first_not_of("# \t\r") == std::string_view::npos;
    }
    return scope;
}

Outcome switchSite(Transaction& change, const Arguments& arguments) {
    const auto places = findSite(change.configuration(), arguments.one("SITE"));
    if (!places.ok()) {
        return places.outcome();
    }
    const bool stop = arguments.verb == "stop";
    const std::string name(places->front().block->name);
    const std::string place = places->front().text();
    Edit edit;
    edit.bound = bound::StartStop;
    edit.scope = [&](const ConfigurationFile& file) { return switchScope(file, name, stop); };
    edit.operation = [&](const std::string& staged) {
        CZPWebsite website(nullptr, staged.c_str());
        return stop ? website.StopWebsite(name.c_str()) : website.StartWebsite(name.c_str());
    };
    edit.meaning = stop ? expecting("StopWebsite", {Stopped}) : expecting("StartWebsite", {Started});
    edit.look = [&](std::string_view made) {
        const std::vector<bool> states = stoppedBlocks(made, name);
        return std::find(states.begin(), states.end(), !stop) == states.end()
                   ? done()
                   : failure("site " + inQuotes(name) + " could not be " + (stop ? "stopped" : "started") +
                             ": " + place + " has more on its ServerName line");
    };
    change.output().set("site", name);
    change.output().set("state", stop ? "stopped" : "running");
    return editAll(change, *places, edit);
}

Outcome status(Session& session, const Configuration&, const Places& places, const Arguments&) {
    const std::string name(places.front().block->name);
    const Readable readable(*places.front().file, name);
    CZPWebsite website(nullptr, readable.path().c_str());
    const int result = quietly(session.output, [&] { return website.GetWebsiteStatus(name); });
    Outcome known = resultOf("GetWebsiteStatus", result, {Running, NotRunning});
    if (known.ok()) {
        session.output.set("site", name);
        session.output.set("state", result == Running ? "running" : "stopped");
    }
    return known;
}

// The panel's two operations that have no effect.
Outcome withoutEffect(Session& session, const Configuration&, const Places& places,
                      const Arguments& arguments) {
    CZPWebsite website(nullptr, places.front().file->path().c_str());
    const std::string name(places.front().block->name);
    session.output.note("the server has no such state; nothing is done (see site stop, site suspend)");
    return arguments.verb == "pause"
               ? resultOf("PauseWebsite", website.PauseWebsite(name.c_str()), {0})
               : resultOf("ContinueWebsite", website.ContinueWebsite(name.c_str()), {0});
}

}  // namespace

std::vector<Command> siteLife() {
    return {
        {"site delete",
         "Delete a website's blocks",
         remove,
         {siteName(), flag("--remove-folders", "Also remove the site's home and all that it holds")},
         {"CZPWebsite::DeleteWebsite", "RemoveDir"}},
        {"site start", "Start a stopped website", switchSite, {siteName()}, {"CZPWebsite::StartWebsite"}},
        {"site stop",
         "Stop a website: its block becomes a comment",
         switchSite,
         {siteName()},
         {"CZPWebsite::StopWebsite"},
         "Each line of the block gets one comment mark more, comments too, and \"site start\" takes one "
         "away."},
        {"site status",
         "Tell whether a website runs",
         status,
         {siteName()},
         {"CZPWebsite::GetWebsiteStatus"}},
        {"site pause",
         "Call the panel's pause, which has no effect",
         withoutEffect,
         {siteName()},
         {"CZPWebsite::PauseWebsite"}},
        {"site continue",
         "Call the panel's continue, which has no effect",
         withoutEffect,
         {siteName()},
         {"CZPWebsite::ContinueWebsite"}},
    };
}

}  // namespace zpweb
