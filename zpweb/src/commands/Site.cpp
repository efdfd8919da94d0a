// Websites: their life.
#include <fcntl.h>
#include <pwd.h>
#include <sys/stat.h>

#include <algorithm>
#include <set>
#include <unordered_map>

#include "CZPVirtualDirectory.h"
#include "CZPWebsite.h"
#include "commands/Common.h"
#include "commands/Groups.h"
#include "conf/Text.h"
#include "input/HostName.h"
#include "input/Quoted.h"
#include "sys/File.h"

namespace zpweb {

namespace {

// --- create
// -----------------------------------------------------------------------------------------------

constexpr char Created = 94;
constexpr char Taken = 92;
constexpr char FolderNotMade = 2;
constexpr mode_t HomeMode = 0711;

char switchOf(const std::string& mode) { return mode == "own" ? '2' : mode == "plain" ? '0' : '1'; }

// What creation changes besides what it adds: in "own" mode, the address's own block.
Scope creationScope(const ConfigurationFile& file, const std::string& mode, const std::string& address) {
    Scope scope = Scope::additions(file.lines());
    for (const Block& block : file.blocks()) {
        if (mode == "own" && !block.stopped && zp::conf::beginsIgnoringCase(block.address, address)) {
            scope.allow(block.lines);
            break;
        }
    }
    return scope;
}

// The home is not made by the library: the panel has made it for the account.
Outcome makeHome(Transaction& change, const std::string& home, const std::string& owner) {
    if (!isFolder(folderOf(home))) {
        return failure(Status::NotFound, "path " + inQuotes(folderOf(home)) +
                                             ": no such folder; expected the parent of the site's home");
    }
    std::vector<std::string> made{home};
    for (const char* folder :
         {"/www", "/www/html", "/www/cgi-bin", "/log", "/log/httpd", "/db", "/special"}) {
        made.push_back(home + folder);
        if (exists(made.back())) {
            return failure(Status::Exists, made.back() + ": exists already; a site's folders are made new");
        }
    }
    const bool fresh = !exists(home);
    if (Outcome noted = change.willMake(made); !noted.ok()) {
        return noted;
    }
    if (!fresh) {
        return done();
    }
    if (Outcome folder = makeFolder(home, HomeMode); !folder.ok()) {
        return folder;
    }
    const passwd* account = ::getpwnam(owner.c_str());
    const Descriptor open(::open(home.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    if (account == nullptr || !open.isOpen() || ::fchmod(open.number(), HomeMode) != 0 ||
        ::fchown(open.number(), account->pw_uid, account->pw_gid) != 0) {
        return failure("cannot give " + systemError(home) + " to " + owner);
    }
    return done();
}

std::string homeOf(const std::string& account) {
    const passwd* entry = ::getpwnam(account.c_str());
    return entry == nullptr ? "" : entry->pw_dir;
}

Outcome create(Transaction& change, const Arguments& arguments) {
    const std::string name = arguments.one("NAME");
    if (const auto places = change.configuration().find(name); !places.empty()) {
        return failure(Status::Exists, "site " + inQuotes(readableHostName(name)) +
                                           ": exists already, at " + places.front().text());
    }
    const std::string owner = arguments.one("--owner");
    const std::string mode = arguments.one("--mode", "shared");
    VHostEntry entry{};
    fillField(entry.IPAddress, arguments.one("--address"));
    fillField(entry.DName, name);
    fillField(entry.PunyCode, name);
    fillField(entry.UserName, owner);
    fillField(entry.ServerAdmin, arguments.one("--admin", owner));
    fillField(entry.Port, "80");
    fillField(entry.Path, arguments.one("--path", homeOf(owner)) + "/");
    entry.IPSwitch = switchOf(mode);
    if (Outcome home = makeHome(change, entry.Path + name, owner); !home.ok()) {
        return home;
    }
    Edit edit;
    edit.file = change.configuration().main().path();
    edit.bound = bound::Creation;
    edit.scope = [&](const ConfigurationFile& file) { return creationScope(file, mode, entry.IPAddress); };
    edit.operation = [&](const std::string& staged) {
        return CZPWebsite(nullptr, staged.c_str()).CreateWebsite(&entry);
    };
    edit.meaning = [&](int result) {
        if (result == Taken) {
            return failure(Status::Exists,
                           "the name, or the block of the address, is taken by another site");
        }
        return result == FolderNotMade
                   ? failure("a folder of the site could not be made in " + std::string(entry.Path))
                   : resultOf("CreateWebsite", result, {Created});
    };
    if (Outcome edited = change.edit(edit); !edited.ok()) {
        return edited;
    }
    const auto made = change.configuration().find(name);
    if (made.empty()) {
        return failure(Status::NotFound, "address " + inQuotes(entry.IPAddress) +
                                             ": it has no block of its own that the site could take");
    }
    change.output().set("site", name);
    if (readableHostName(name) != name) {
        change.output().set("entered", readableHostName(name));
    }
    change.output().set("address", std::string(made.front().block->address));
    change.output().set("home", entry.Path + name);
    change.output().set("place", made.front().text());
    return done();
}

// --- delete
// -----------------------------------------------------------------------------------------------

constexpr char Deleted = 24;

// The site's home, as its block tells: where its folders may be removed from.
Expected<std::string> removableHome(const Configuration& configuration, const Place& place) {
    const std::string home(place.block->home);
    const std::string name(place.block->name);
    if (home.size() < 4 || nameOf(home) != name || std::count(home.begin(), home.end(), '/') < 2) {
        return failure("the block of " + name +
                       " names no home of its own; its folders stay: nothing is done");
    }
    for (const auto& file : configuration.files()) {
        for (const Block& block : file->blocks()) {
            const bool other = !sameHost(block.name, name);
            if (other && (std::string(block.root) + "/").starts_with(home + "/")) {
                return failure(home + " is used by site " + std::string(block.name) + ": nothing is done");
            }
        }
    }
    return home;
}

Outcome remove(Transaction& change, const Arguments& arguments) {
    const auto places = findSite(change.configuration(), arguments.one("SITE"));
    if (!places.ok()) {
        return places.outcome();
    }
    const std::string name(places->front().block->name);
    if (arguments.has("--remove-folders")) {
        auto home = removableHome(change.configuration(), places->front());
        if (!home.ok()) {
            return home.outcome();
        }
        change.output().set("removed", *home);
        change.afterwards([home = *home] {
            return !isFolder(home) || RemoveDir(home.c_str()) == 0
                       ? done()
                       : failure("the site is deleted, but " + home + " could not be removed");
        });
    }
    std::vector<std::string> files;
    for (const ConfigurationFile* file : filesOf(*places)) {
        files.push_back(file->path());
    }
    for (const std::string& file : files) {
        Edit edit;
        edit.file = file;
        edit.bound = bound::Deletion;
        edit.scope = [&](const ConfigurationFile& current) {
            Scope scope = siteScope(current, name);
            scope.takesBlankLine = true;
            return scope;
        };
        edit.operation = [&](const std::string& staged) {
            return CZPWebsite(nullptr, staged.c_str()).DeleteWebsite(name.c_str(), 0);
        };
        edit.meaning = [](int result) { return resultOf("DeleteWebsite", result, {Deleted}); };
        if (Outcome edited = change.edit(edit); !edited.ok()) {
            return edited;
        }
    }
    if (!change.configuration().find(name).empty()) {
        return failure("site " + inQuotes(name) + " cannot be deleted: its ServerName line has more on it");
    }
    change.output().set("site", name);
    return done();
}

// --- start, stop, status
// ----------------------------------------------------------------------------------

constexpr char Started = 29;
constexpr char Stopped = 30;
constexpr char Running = 34;
constexpr char NotRunning = 33;

// The blocks of the site that are in the other state.
Scope switchScope(const ConfigurationFile& file, const std::string& name, bool stopped, Marks marks) {
    Scope scope;
    scope.marks = marks;
    scope.mayChange.assign(file.lines().size(), false);
    for (const Block& block : file.blocks()) {
        if (block.stopped == stopped && !block.name.empty() && sameHost(block.name, name)) {
            scope.part.push_back(block.lines);
            scope.allow(block.lines);
        }
    }
    // The start gives up at a line of comment marks alone.
    scope.hidden.assign(file.lines().size(), false);
    for (size_t i = 0; stopped && i < file.lines().size(); ++i) {
        scope.hidden[i] = file.lines()[i].find_first_not_of("# \t\r") == std::string_view::npos;
    }
    return scope;
}

Outcome switchSite(Transaction& change, const Arguments& arguments, bool stop) {
    const auto places = findSite(change.configuration(), arguments.one("SITE"));
    if (!places.ok()) {
        return places.outcome();
    }
    const std::string name(places->front().block->name);
    std::vector<std::string> files;
    for (const ConfigurationFile* file : filesOf(*places)) {
        files.push_back(file->path());
    }
    for (const std::string& file : files) {
        Edit edit;
        edit.file = file;
        edit.bound = bound::StartStop;
        edit.scope = [&](const ConfigurationFile& current) {
            return switchScope(current, name, !stop, stop ? Marks::Added : Marks::Removed);
        };
        edit.operation = [&](const std::string& staged) {
            CZPWebsite website(nullptr, staged.c_str());
            return stop ? website.StopWebsite(name.c_str()) : website.StartWebsite(name.c_str());
        };
        edit.meaning = [&](int result) {
            return resultOf(stop ? "StopWebsite" : "StartWebsite", result, {stop ? Stopped : Started});
        };
        if (Outcome edited = change.edit(edit); !edited.ok()) {
            return edited;
        }
    }
    for (const Place& place : change.configuration().find(name)) {
        if (place.block->stopped != stop) {
            return failure("site " + inQuotes(name) + " could not be " + (stop ? "stopped" : "started") +
                           ": " + place.text() + " has more on its ServerName line");
        }
    }
    change.output().set("site", name);
    change.output().set("state", stop ? "stopped" : "running");
    return done();
}

Outcome start(Transaction& change, const Arguments& arguments) {
    return switchSite(change, arguments, false);
}
Outcome stop(Transaction& change, const Arguments& arguments) {
    return switchSite(change, arguments, true);
}

// The panel's two operations that have no effect.
Outcome withoutEffect(Session& session, const Arguments& arguments, bool pause) {
    const auto configuration = session.load();
    if (!configuration.ok()) {
        return configuration.outcome();
    }
    const auto places = findSite(*configuration, arguments.one("SITE"));
    if (!places.ok()) {
        return places.outcome();
    }
    CZPWebsite website(nullptr, places->front().file->path().c_str());
    const std::string name(places->front().block->name);
    session.output.note("the server has no such state; nothing is done (see site stop, site suspend)");
    return resultOf("PauseWebsite",
                    pause ? website.PauseWebsite(name.c_str()) : website.ContinueWebsite(name.c_str()),
                    {0});
}
Outcome pause(Session& session, const Arguments& arguments) {
    return withoutEffect(session, arguments, true);
}
Outcome resumePaused(Session& session, const Arguments& arguments) {
    return withoutEffect(session, arguments, false);
}

Outcome status(Session& session, const Arguments& arguments) {
    const auto configuration = session.load();
    if (!configuration.ok()) {
        return configuration.outcome();
    }
    const auto places = findSite(*configuration, arguments.one("SITE"));
    if (!places.ok()) {
        return places.outcome();
    }
    const std::string name(places->front().block->name);
    const Readable readable(*places->front().file);
    CZPWebsite website(nullptr, readable.path().c_str());
    const int result = quietly(session.output, [&] { return website.GetWebsiteStatus(name); });
    if (Outcome known = resultOf("GetWebsiteStatus", result, {Running, NotRunning}); !known.ok()) {
        return known;
    }
    session.output.set("site", name);
    session.output.set("state", result == Running ? "running" : "stopped");
    return done();
}

// --- list
// -------------------------------------------------------------------------------------------------

bool isReachable(std::string_view name) {
    return std::all_of(name.begin(), name.end(),
                       [](char c) { return static_cast<unsigned char>(c) > ' ' && c != ':' && c != '"'; });
}

bool isSuspended(std::string_view root) { return zp::conf::equalIgnoringCase(root, "message.htm"); }

std::string lowered(std::string_view text) {
    std::string result(text);
    std::transform(result.begin(), result.end(), result.begin(), zp::conf::lower);
    return result;
}

Json rowOf(const Place& place, const std::string& flag) {
    const Block& block = *place.block;
    const std::string name(block.name);
    Json row = {{"name", name}};
    if (const std::string readable = readableHostName(name); readable != name && !readable.empty()) {
        row["readable"] = readable;
    }
    row["state"] = block.stopped ? "stopped" : isSuspended(block.root) ? "suspended" : "running";
    row["address"] = std::string(block.address);
    row["root"] = std::string(block.root);
    row["file"] = place.file->path();
    row["line"] = block.nameLine + 1;
    row["place"] = place.text();
    if (!flag.empty()) {
        row["flag"] = flag;
    }
    return row;
}

// A name that stands twice at one address is served by the first block only; one with more on its line than
// the name is not found by any operation.
Outcome list(Session& session, const Arguments& arguments) {
    if (arguments.has("--names")) {
        CZPWebsite website(nullptr, session.settings.configuration.c_str());
        StringVector names;
        const int result = quietly(session.output, [&] { return website.ListWebsites(names); });
        Json rows = Json::array();
        for (const std::string& name : names) {
            rows.push_back({{"name", name}});
        }
        session.output.list("sites", {"name"}, std::move(rows));
        return resultOf("ListWebsites", result, {28});
    }
    const auto configuration = session.load();
    if (!configuration.ok()) {
        return configuration.outcome();
    }
    std::set<std::string> seen;
    Json rows = Json::array();
    for (const auto& file : configuration->files()) {
        for (const Block& block : file->blocks()) {
            if (block.name.empty()) {
                continue;
            }
            std::string flag = isReachable(block.name) ? "" : "unreachable";
            if (!block.stopped &&
                !seen.insert(lowered(block.name) + " " + std::string(block.address)).second) {
                flag = "duplicate";
            }
            rows.push_back(rowOf({file.get(), &block}, flag));
        }
    }
    session.output.list("sites", {"name", "state", "address", "root", "place", "flag"}, std::move(rows));
    return done();
}

}  // namespace

std::vector<Command> siteCommands() {
    const Parameter site{"SITE", Kind::HostName, "", "The site's name", true};
    return {
        {"site create",
         "Create a website: its block, and its folders",
         {{"NAME", Kind::HostName, "", "The new site's name", true},
          {"--address", Kind::Address, "IP", "The address that it listens on", true},
          {"--owner", Kind::Account, "ACCOUNT", "The account that owns its folders", true},
          {"--path", Kind::Path, "FOLDER", "The parent of its home (default: the owner's home)"},
          {"--admin", Kind::Account, "ACCOUNT", "Its administrator (default: the owner)"},
          {"--mode", Kind::Choice, "shared|own|plain",
           "The address is shared by name, the site's own, or taken as it is (shared)"}},
         {"CZPWebsite::CreateWebsite"},
         nullptr,
         create,
         "The home PATH/NAME is made when it is missing, and in it www, www/html, www/cgi-bin, log, "
         "log/httpd, "
         "db and special, none of which may exist."},
        {"site delete",
         "Delete a website's blocks",
         {site, {"--remove-folders", Kind::Flag, "", "Also remove the site's home and all that it holds"}},
         {"CZPWebsite::DeleteWebsite", "RemoveDir"},
         nullptr,
         remove},
        {"site list",
         "List the websites",
         {{"--names", Kind::Flag, "", "Only the names, as the panel's own listing finds them"}},
         {"CZPWebsite::ListWebsites", "CZPWebsite::VHostsInIncFile"},
         list,
         nullptr,
         "A site is flagged \"duplicate\" when its name stands before at the same address, so that it is "
         "never "
         "served, and \"unreachable\" when more than the name stands on its ServerName line, so that no "
         "operation "
         "finds it."},
        {"site start", "Start a stopped website", {site}, {"CZPWebsite::StartWebsite"}, nullptr, start},
        {"site stop",
         "Stop a website: its block becomes a comment",
         {site},
         {"CZPWebsite::StopWebsite"},
         nullptr,
         stop,
         "Each line of the block gets one comment mark more, comments too, and \"site start\" takes one "
         "away."},
        {"site status", "Tell whether a website runs", {site}, {"CZPWebsite::GetWebsiteStatus"}, status},
        {"site pause",
         "Call the panel's pause, which has no effect",
         {site},
         {"CZPWebsite::PauseWebsite"},
         pause},
        {"site continue",
         "Call the panel's continue, which has no effect",
         {site},
         {"CZPWebsite::ContinueWebsite"},
         resumePaused},
    };
}

}  // namespace zpweb
