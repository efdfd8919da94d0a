// A new website.
#include <fcntl.h>
#include <pwd.h>
#include <sys/stat.h>

#include <algorithm>
#include <utility>

#include "CZPWebsite.h"
#include "commands/Commands.h"
#include "commands/shared/Operation.h"
#include "commands/shared/Scopes.h"
#include "conf/Text.h"
#include "input/HostName.h"
#include "input/Quoted.h"
#include "sys/File.h"
#include "sys/GuardedFolder.h"

namespace zpweb {

namespace {

constexpr auto Name = needed("NAME", Kind::HostName, "The new site's name");
constexpr auto Address = neededOption("--address", Kind::Address, "IP", "The address that it listens on");
constexpr auto Owner =
    neededOption("--owner", Kind::Account, "ACCOUNT", "The account that owns its folders");
constexpr auto Parent =
    option("--path", Kind::Path, "FOLDER", "The parent of its home (default: the owner's home)");
constexpr auto Admin =
    option("--admin", Kind::Account, "ACCOUNT", "Its administrator (default: the owner)");
constexpr auto Mode = option("--mode", Kind::Choice, "shared|own|plain",
                             "The address is shared by name, the site's own, or taken as it is (shared)");

constexpr char Created = 94;
constexpr char Taken = 92;
constexpr char FolderNotMade = 2;
constexpr mode_t HomeMode = 0711;

// How the address is used, as the record says it.
constexpr char Plain = '0';
constexpr char Shared = '1';
constexpr char Own = '2';

char switchOf(std::string_view mode) {
    constexpr std::pair<std::string_view, char> Modes[] = {
        {"plain", Plain}, {"shared", Shared}, {"own", Own}};
    const auto* found = std::find_if(std::begin(Modes), std::end(Modes),
                                     [mode](const auto& each) { return each.first == mode; });
    return found == std::end(Modes) ? Shared : found->second;
}

// What creation changes besides what it adds: in "own" mode, the address's own block.
Scope creationScope(const ConfigurationFile& file, const VHostEntry& entry) {
    Scope scope = additionsScope(file);
    for (const Block& block : file.blocks()) {
        if (entry.IPSwitch == Own && !block.stopped &&
            zp::conf::beginsIgnoringCase(block.address, entry.IPAddress)) {
            scope.allow(block.lines);
            break;
        }
    }
    return scope;
}

Outcome makeFor(const std::string& owner, const std::string& home) {
    const passwd* account = ::getpwnam(owner.c_str());
    const auto parent = openGuarded(folderOf(home));
    if (!parent.ok()) {
        return parent.outcome();
    }
    const std::string name = nameOf(home);
    if (::mkdirat(parent->number(), name.c_str(), HomeMode) != 0) {
        return failure(systemError(home));
    }
    const Descriptor open(
        ::openat(parent->number(), name.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    if (account == nullptr || !open.isOpen() || ::fchmod(open.number(), HomeMode) != 0 ||
        ::fchown(open.number(), account->pw_uid, account->pw_gid) != 0) {
        return failure("cannot give " + systemError(home) + " to " + owner);
    }
    return done();
}

// The home is not made by the library: the panel has made it for the account.
Outcome makeHome(Transaction& change, const std::string& home, const std::string& owner) {
    if (!isFolder(folderOf(home))) {
        return failure(Status::NotFound, "path " + inQuotes(folderOf(home)) +
                                             ": no such folder; expected the parent of the site's home");
    }
    for (const std::string& folder : {folderOf(home), home}) {
        if (Outcome reached = reachedWithoutForeignLink(folder); !reached.ok()) {
            return reached;
        }
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
    Outcome outcome = change.willMake(made);
    return fresh && outcome.ok() ? makeFor(owner, home) : outcome;
}

std::string homeOf(const std::string& account) {
    const passwd* entry = ::getpwnam(account.c_str());
    return entry == nullptr ? "" : entry->pw_dir;
}

VHostEntry entryFrom(const Arguments& given) {
    const std::string owner = given[Owner];
    VHostEntry entry{};
    fillField(entry.IPAddress, given[Address]);
    fillField(entry.DName, given[Name]);
    fillField(entry.PunyCode, given[Name]);
    fillField(entry.UserName, owner);
    fillField(entry.ServerAdmin, given[Admin].value_or(owner));
    fillField(entry.Port, "80");
    fillField(entry.Path, given[Parent].value_or(homeOf(owner)) + "/");
    entry.IPSwitch = switchOf(given[Mode].value_or(""));
    return entry;
}

Meaning creationMeaning(const VHostEntry& entry) {
    const std::string path = entry.Path;
    return [path](int result) {
        if (result == Taken) {
            return failure(Status::Exists,
                           "the name, or the block of the address, is taken by another site");
        }
        return result == FolderNotMade ? failure("a folder of the site could not be made in " + path)
                                       : resultOf("CreateWebsite", result, {Created});
    };
}

Outcome create(Transaction& change, const Arguments& given) {
    const std::string name = given[Name];
    const std::string readable = readableHostName(name);
    if (const auto places = change.configuration().find(name); !places.empty()) {
        change.output().set("site", name);
        change.output().set("place", places.front().text());
        return existsAlready("site " + inQuotes(readable) + ": exists already, at " +
                             places.front().text());
    }
    VHostEntry entry = entryFrom(given);
    if (Outcome home = makeHome(change, entry.Path + name, entry.UserName); !home.ok()) {
        return home;
    }
    Edit edit;
    edit.file = change.configuration().main().path();
    edit.bound = bound::Creation;
    edit.appends = entry.IPSwitch != switchOf("own");
    edit.scope = [&](const ConfigurationFile& file) { return creationScope(file, entry); };
    edit.operation = [&](const std::string& staged) {
        return CZPWebsite(nullptr, staged.c_str()).CreateWebsite(&entry);
    };
    edit.meaning = creationMeaning(entry);
    if (Outcome edited = change.edit(edit); !edited.ok()) {
        return edited;
    }
    const auto made = change.configuration().find(name);
    if (made.empty()) {
        return failure(Status::NotFound, "address " + inQuotes(entry.IPAddress) +
                                             ": it has no block of its own that the site could take");
    }
    change.output().set("site", name);
    if (readable != name) {
        change.output().set("entered", readable);
    }
    change.output().set("address", made.front().block->address);
    change.output().set("home", entry.Path + name);
    change.output().set("place", made.front().text());
    return done();
}

}  // namespace

Command siteCreate() {
    return {
        .words = "site create",
        .summary = "Create a website: its block, and its folders",
        .action = create,
        .parameters = {Name, Address, Owner, Parent, Admin, Mode},
        .operations = {"CZPWebsite::CreateWebsite"},
        .more =
            "The home PATH/NAME is made when it is missing, and in it www, www/html, www/cgi-bin, log, "
            "log/httpd, db and special, none of which may exist.",
        .examples =
            {"site create shop.example --address 192.0.2.7 --owner anna",
             "site create shop.example --address 192.0.2.7 --owner anna --path /var/www --dry-run --diff"},
    };
}

}  // namespace zpweb
