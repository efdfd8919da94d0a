#include "commands/shared/SiteHome.h"

#include <sys/stat.h>
#include <unistd.h>

#include <map>
#include <utility>
#include <vector>

#include "host/Accounts.h"
#include "host/HeldDirectory.h"
#include "host/SiteDirectories.h"
#include "input/Quoted.h"
#include "server/ServerUser.h"
#include "sys/File.h"
#include "sys/GuardedDirectory.h"
#include "sys/Look.h"
#include "sys/Process.h"

namespace zpweb {

namespace {

constexpr mode_t HomeMode = 0711;

// As an undo leaves it that finds something in it, and no link. Another one of root's there, also one that
// is closed to others, is something that the owner has moved into its place.
bool isDirectoryOf(const std::string& owner, const std::string& path,
                   const zp::host::site::Directory& wanted) {
    const auto account = zp::host::findAccount(owner);
    struct stat status {};
    const bool isDirectory = ::lstat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
    const bool isRoots =
        wanted.ofAdministrator && status.st_uid == ::geteuid() && (status.st_mode & 07777) == wanted.mode;
    return isDirectory && (isRoots || (account && status.st_uid == account->user));
}

// Where others can make directories, one of a third account's would leave all of the site in its hands.
bool isThirds(const std::string& home, uid_t owner) {
    const auto parent = zp::host::HeldDirectory::hold(directoryOf(home));
    struct stat status {};
    return parent && parent->othersWrite() && ::lstat(home.c_str(), &status) == 0 &&
           status.st_uid != owner && status.st_uid != ::geteuid();
}

// The directories from the top to this one.
std::vector<std::string> wayTo(const std::string& path) {
    std::vector<std::string> way;
    for (size_t at = path.find('/', 1); at != std::string::npos; at = path.find('/', at + 1)) {
        way.push_back(path.substr(0, at));
    }
    way.push_back(path);
    return way;
}

// May the account enter the directory now? Only a process of its own can tell; of many sites, the first one
// asks.
bool entersNow(const std::string& account, const std::string& directory) {
    static std::map<std::pair<std::string, std::string>, bool> known;
    const auto [entry, fresh] = known.try_emplace({account, directory}, true);
    if (fresh) {
        entry->second = canEnter(account, {directory}).front();
    }
    return entry->second;
}

// One of root's in a directory of an owner's may be any that the owner has moved there.
bool mayBeMovedRoots(const std::string& directory, const struct stat& status) {
    const auto above = zp::host::HeldDirectory::hold(directoryOf(directory));
    return status.st_uid == ::geteuid() && (!above || above->othersWrite());
}

}  // namespace

std::string homeOf(const std::string& account) {
    const auto entry = zp::host::findAccount(account);
    return entry ? entry->home : "";
}

Outcome makeHome(Transaction& change, const std::string& home, const std::string& owner) {
    if (!isDirectory(directoryOf(home))) {
        return failure(Status::NotFound, "path " + inQuotes(directoryOf(home)) +
                                             ": no such directory; expected the parent of the site's home");
    }
    for (const std::string& directory : {directoryOf(home), home}) {
        if (Outcome reached = reachedWithoutForeignLink(directory); !reached.ok()) {
            return reached;
        }
    }
    const auto account = zp::host::findAccount(owner);
    if (!account) {
        return failure("account " + inQuotes(owner) + ": no longer there");
    }
    const auto isAnothers = [&owner](const std::string& path) {
        return failure(Status::Exists, path + ": exists already, and is no directory of " + owner +
                                           "'s that the site could take");
    };
    if (isThirds(home, account->user)) {
        return isAnothers(home);
    }
    std::vector<std::string> made{home};
    for (const zp::host::site::Directory& directory : zp::host::site::Directories) {
        made.push_back(home + directory.path);
        if (exists(made.back()) && !isDirectoryOf(owner, made.back(), directory)) {
            return isAnothers(made.back());
        }
    }
    Outcome outcome =
        exists(home) ? done() : change.makeDirectory(home, HomeMode, account->user, account->group);
    change.planToMake(made);
    return outcome;
}

Outcome makeReachable(Transaction& change, const std::string& home, bool open) {
    const auto user = answeringUser(change.configuration(), change.live());
    if (!user) {
        return done();  // nothing is known of who serves it
    }
    bool reached = true;  // behind a closed directory only the mode bits can be looked at
    for (const std::string& directory : wayTo(directoryOf(home))) {
        struct stat status {};
        const bool there = lookAt(directory, status);
        const bool passes = there && canPass(*user, status);
        if (!there || (reached ? entersNow(user->name, directory) : passes)) {
            continue;
        }
        if (reached && passes) {
            return failure(Status::Refused, "the ACL of " + directory + " keeps the server's user " +
                                                user->name +
                                                " out (see getfacl): the site could not be seen");
        }
        reached = false;
        if (!open) {
            return failure(Status::Refused,
                           "the server's user " + user->name + " cannot pass " + directory +
                               ", so the site could not be seen: --traverse lets everybody "
                               "pass it (chmod o+x), or choose another --path");
        }
        if (mayBeMovedRoots(directory, status)) {
            return failure(Status::Refused, directory +
                                                " is root's and closed, in a directory that others can "
                                                "write: it is not opened; chmod o+x when that is meant");
        }
        change.outstanding({.step = zp::host::Effect::Step::GiveAccess,
                            .path = directory,
                            .mode = (status.st_mode & 07777) | S_IXOTH,
                            .inode = status.st_ino});
    }
    return done();
}

}  // namespace zpweb
