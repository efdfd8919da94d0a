#include "sys/GuardedFolder.h"

#include <fcntl.h>
#include <linux/openat2.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>

#include "host/Effect.h"
#include "host/FileSystem.h"
#include "host/HeldDirectory.h"
#include "sys/File.h"

namespace host = zp::host;

namespace zpweb {

Expected<Descriptor> openGuarded(const std::string& path) {
    host::HeldDirectory::Obstacle obstacle;
    auto directory = host::HeldDirectory::hold(path, &obstacle);
    if (directory) {
        return directory->release();
    }
    if (!obstacle.link.empty()) {
        return failure(path + ": reached through a symbolic link (" + obstacle.link +
                       ") that others than root can place; it is not followed");
    }
    errno = obstacle.error;
    return failure(obstacle.error == ENOENT ? Status::NotFound : Status::Error, systemError(path));
}

Outcome reachedWithoutForeignLink(const std::string& path) {
    const Outcome opened = openGuarded(path).outcome();
    return opened.status == Status::NotFound ? done() : opened;
}

namespace {

// Most ways have no link at all, and one call tells.
bool hasNoLink(const std::string& path) {
    open_how how{};
    how.flags = O_PATH | O_CLOEXEC;
    how.resolve = RESOLVE_NO_SYMLINKS;
    const Descriptor file(
        static_cast<int>(::syscall(SYS_openat2, AT_FDCWD, path.c_str(), &how, sizeof how)));
    return file.isOpen() || errno == ENOENT || errno == ENOTDIR;
}

// A link of root's is the administrator's wherever it stands.
bool isForeignLink(const std::string& path) {
    struct stat status {};
    if (::lstat(path.c_str(), &status) != 0 || !S_ISLNK(status.st_mode) || status.st_uid == 0 ||
        status.st_uid == ::geteuid()) {
        return false;
    }
    const auto directory = host::HeldDirectory::hold(folderOf(path));
    return !directory || !host::administratorsLink(*directory, nameOf(path));
}

}  // namespace

std::string foreignLinkOn(const std::string& path) {
    if (hasNoLink(path)) {
        return {};
    }
    for (size_t slash = path.find('/', 1);; slash = path.find('/', slash + 1)) {
        std::string part = path.substr(0, slash);
        if (isForeignLink(part)) {
            return part;
        }
        if (slash == std::string::npos) {
            return {};
        }
    }
}

Outcome removeForeignLink(const std::string& link, bool isDirectory) {
    constexpr mode_t Mode = 0755;
    const auto folder = openGuarded(folderOf(link));
    if (!folder.ok()) {
        return folder.outcome();
    }
    const std::string name = nameOf(link);
    struct stat status {};
    const bool isLink = ::fstatat(folder->number(), name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0 &&
                        S_ISLNK(status.st_mode);
    if (!isLink || ::unlinkat(folder->number(), name.c_str(), 0) != 0) {
        return failure(isLink ? systemError(link) : link + ": no longer a symbolic link");
    }
    return !isDirectory || ::mkdirat(folder->number(), name.c_str(), Mode) == 0
               ? done()
               : failure(systemError(link));
}

std::string pathIn(const Descriptor& folder, const std::string& name) {
    return "/proc/self/fd/" + std::to_string(folder.number()) + (name.empty() ? "" : "/" + name);
}

Outcome giveAccess(const std::string& path, const Access& access, bool deep) {
    const auto folder = openGuarded(folderOf(path));
    if (!folder.ok()) {
        return folder.outcome();
    }
    struct stat status {};
    if (::fstatat(folder->number(), nameOf(path).c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) {
        return failure(systemError(path));
    }
    if (S_ISLNK(status.st_mode)) {
        return failure(path + ": a symbolic link; it is not followed");
    }
    const bool given = host::carryOut(
        {.path = path, .user = access.user, .group = access.group, .mode = access.mode, .deep = deep});
    return given ? done() : failure(path + ": not all of it could be changed");
}

}  // namespace zpweb
