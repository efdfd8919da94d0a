#include "sys/Trap.h"

#include <fcntl.h>
#include <linux/openat2.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <random>

#include "host/HeldDirectory.h"
#include "host/Machine.h"
#include "sys/File.h"
#include "sys/GuardedDirectory.h"

namespace host = zp::host;

namespace zpweb {

namespace {

constexpr int MostLinks = 40;  // on one way; the system's own limit

bool isOthers(const struct stat& status) { return status.st_uid != 0 && status.st_uid != ::geteuid(); }

// Most ways are plain, and two calls tell.
bool isPlain(const std::string& path) {
    open_how how{};
    how.flags = O_PATH | O_CLOEXEC;
    how.resolve = RESOLVE_NO_SYMLINKS;
    const Descriptor file(
        static_cast<int>(::syscall(SYS_openat2, AT_FDCWD, path.c_str(), &how, sizeof how)));
    if (!file.isOpen()) {
        return errno == ENOENT || errno == ENOTDIR;
    }
    // A program may run, also one of root's that its owner has moved there: then nobody can write to it.
    constexpr mode_t Program = S_IXUSR | S_IXGRP | S_IXOTH;
    struct stat status {};
    return ::fstat(file.number(), &status) == 0 &&
           (S_ISREG(status.st_mode) ? !isOthers(status) && (status.st_mode & Program) == 0
                                    : S_ISCHR(status.st_mode));
}

// A link of root's is the administrator's wherever it stands, and so is any in a directory of root's alone.
// One that has a second name may be another one of root's.
bool isOthersLink(const std::string& path, const struct stat& status) {
    if (!isOthers(status) && status.st_nlink == 1) {
        return false;
    }
    const auto directory = host::HeldDirectory::hold(directoryOf(path));
    return !directory || !host::administratorsLink(*directory, nameOf(path));
}

std::string takeFirstName(std::string& path) {
    std::string name = path.substr(0, path.find('/'));
    path.erase(0, name.size() + 1);
    return name;
}

Trap linkTrap(const std::string& path, const std::string& rest) {
    const bool isLast = rest.find_first_not_of('/') == std::string::npos;
    return {isLast ? Trap::Kind::FileLink : Trap::Kind::DirectoryLink, path};
}

// As the server does, which ends when it cannot: what another one runs, or holds a lease on, is shut to
// root.
bool canBeWritten(const std::string& path) {
    constexpr int Append = O_WRONLY | O_APPEND | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;
    const auto directory = openGuarded(directoryOf(path));
    const Descriptor file(directory.ok() ? ::openat(directory->number(), nameOf(path).c_str(), Append)
                                         : -1);
    return file.isOpen() || !directory.ok() || errno == ENOENT;
}

std::optional<Trap> trapIn(const std::string& path) {
    struct stat status {};
    if (::lstat(path.c_str(), &status) != 0 || S_ISCHR(status.st_mode)) {
        return std::nullopt;
    }
    if (S_ISFIFO(status.st_mode)) {
        return isOthers(status) ? std::optional(Trap{Trap::Kind::Pipe, path}) : std::nullopt;
    }
    return canBeWritten(path) ? std::nullopt : std::optional(Trap{Trap::Kind::NoLog, path});
}

Outcome moveAside(const Descriptor& directory, const Trap& trap) {
    const std::string name = nameOf(trap.path);
    const std::string aside = name + ".aside-" + std::to_string(::getpid());
    const bool moved = ::renameat2(directory.number(), name.c_str(), directory.number(), aside.c_str(),
                                   RENAME_NOREPLACE) == 0;
    return moved            ? done()
           : errno == EBUSY ? failure(trap.path + ": a file system is mounted there; unmount it first")
                            : failure(systemError(trap.path));
}

// Out of its place before it is looked at: what comes there meanwhile, as the log itself, is not what goes.
Outcome takeAway(const Descriptor& directory, const Trap& trap) {
    const std::string name = nameOf(trap.path);
    const std::string away = ".zpweb-away." + std::to_string(std::random_device()());
    struct stat status {};
    if (::renameat(directory.number(), name.c_str(), directory.number(), away.c_str()) != 0) {
        return failure(systemError(trap.path));
    }
    const bool isIt = ::fstatat(directory.number(), away.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0 &&
                      (trap.kind == Trap::Kind::Pipe ? S_ISFIFO(status.st_mode) : S_ISLNK(status.st_mode));
    if (isIt) {
        return ::unlinkat(directory.number(), away.c_str(), 0) == 0 ? done()
                                                                    : failure(systemError(trap.path));
    }
    const bool isBack = ::renameat2(directory.number(), away.c_str(), directory.number(), name.c_str(),
                                    RENAME_NOREPLACE) == 0;
    return failure(trap.path + ": meanwhile something else" + (isBack ? "" : ", now " + away));
}

}  // namespace

std::optional<Trap> trapOn(const std::string& path) {
    if (isPlain(path)) {
        return std::nullopt;
    }
    std::string way = path.starts_with('/') ? "" : ".";
    int links = 0;
    for (std::string rest = path; !rest.empty();) {
        const std::string name = takeFirstName(rest);
        if (name.empty()) {
            continue;
        }
        const std::string place = way + "/" + name;
        struct stat status {};
        if (::lstat(place.c_str(), &status) != 0) {
            if (host::isShutOut(errno)) {
                return Trap{Trap::Kind::NoLog, place};
            }
            host::noteFault(place);
            return std::nullopt;
        }
        if (!S_ISLNK(status.st_mode)) {
            way = place;
            continue;
        }
        const auto target = linkTarget(place);
        if (!target || isOthersLink(place, status) || ++links > MostLinks) {
            return linkTrap(place, rest);
        }
        way = target->starts_with('/') ? "" : way;
        rest = *target + "/" + rest;
    }
    return trapIn(way);
}

Outcome removeTrap(const Trap& trap) {
    constexpr mode_t NewMode = 0755;
    const auto directory = openGuarded(directoryOf(trap.path));
    if (!directory.ok()) {
        return directory.outcome();
    }
    if (trap.kind == Trap::Kind::NoLog) {
        return moveAside(*directory, trap);
    }
    if (Outcome taken = takeAway(*directory, trap); !taken.ok()) {
        return taken;
    }
    return trap.kind != Trap::Kind::DirectoryLink ||
                   ::mkdirat(directory->number(), nameOf(trap.path).c_str(), NewMode) == 0
               ? done()
               : failure(systemError(trap.path));
}

}  // namespace zpweb
