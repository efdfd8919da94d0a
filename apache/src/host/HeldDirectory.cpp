#include "host/HeldDirectory.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <climits>
#include <utility>

namespace zp::host {

namespace {

constexpr int OpenDirectory = O_RDONLY | O_DIRECTORY | O_CLOEXEC;
constexpr mode_t OwnerOnly = 0700;
constexpr int MostLinks = 40;  // on one way; the system's own limit

bool isAdministrator(uid_t owner) { return owner == 0 || owner == ::geteuid(); }

bool isEmpty(int directory) {
    DIR* listing = ::fdopendir(::openat(directory, ".", OpenDirectory));
    int entries = 0;
    errno = 0;
    while (listing != nullptr && ::readdir(listing) != nullptr) {
        ++entries;
    }
    const bool none = listing != nullptr && errno == 0 && entries <= 2;  // "." and ".."
    return (listing == nullptr || ::closedir(listing) == 0) && none;
}

std::string takeFirstName(std::string& path) {
    std::string name = path.substr(0, path.find('/'));
    path.erase(0, name.size() + 1);
    return name;
}

}  // namespace

bool isShutOut(int error) { return error == EACCES || error == ENOTCONN; }

std::optional<HeldDirectory> HeldDirectory::hold(const std::string& path, Obstacle* obstacle) {
    Obstacle met;
    HeldDirectory directory(Descriptor(::open(path.starts_with('/') ? "/" : ".", OpenDirectory)));
    met.error = directory.directory_.isOpen() ? 0 : errno;
    int links = 0;
    for (std::string rest = path; !rest.empty() && directory.directory_.isOpen();) {
        const std::string name = takeFirstName(rest);
        if (name.empty()) {
            continue;
        }
        Descriptor next(::openat(directory.descriptor(), name.c_str(), OpenDirectory | O_NOFOLLOW));
        if (next.isOpen()) {
            directory.directory_ = std::move(next);
            continue;
        }
        met.error = errno;
        struct stat status {};
        const bool isLink =
            ::fstatat(directory.descriptor(), name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0 &&
            S_ISLNK(status.st_mode);
        const auto target = administratorsLink(directory, name);
        if (!target || ++links > MostLinks) {
            met.link = isLink ? name : "";
            directory.directory_.close();
            break;
        }
        rest = *target + "/" + rest;
        if (target->starts_with('/')) {
            directory.directory_ = Descriptor(::open("/", OpenDirectory));
            met.error = errno;
        }
    }
    if (path.empty()) {
        met.error = ENOENT;
    }
    if (obstacle != nullptr) {
        *obstacle = met;
    }
    const bool held = directory.directory_.isOpen() && !path.empty();
    return held ? std::optional(std::move(directory)) : std::nullopt;
}

bool HeldDirectory::othersWrite() const {
    struct stat status {};
    return ::fstat(descriptor(), &status) != 0 || !isAdministrator(status.st_uid) ||
           (status.st_mode & (S_IWGRP | S_IWOTH)) != 0;
}

bool HeldDirectory::mayOwn(uid_t owner) const {
    struct stat status {};
    return isAdministrator(owner) || (::fstat(descriptor(), &status) == 0 && status.st_uid == owner);
}

bool mayBeMovedInto(const HeldDirectory& parent, int directory) {
    constexpr mode_t ReadByOthers = S_IROTH | S_IXOTH;
    struct stat status {};
    const bool isLooked = ::fstat(directory, &status) == 0;
    const bool isClosed = isAdministrator(status.st_uid) && (status.st_mode & ReadByOthers) != ReadByOthers;
    return parent.othersWrite() && (!isLooked || (isClosed && !isEmpty(directory)));
}

Descriptor makeDirectoryIn(int parent, const std::string& name) {
    if (::mkdirat(parent, name.c_str(), OwnerOnly) != 0) {
        return Descriptor();
    }
    Descriptor made(::openat(parent, name.c_str(), OpenDirectory | O_NOFOLLOW));
    struct stat status {};
    const bool isIt = made.isOpen() && ::fstat(made.number(), &status) == 0 &&
                      status.st_uid == ::geteuid() && (status.st_mode & (S_IRWXG | S_IRWXO)) == 0 &&
                      isEmpty(made.number());
    return isIt ? std::move(made) : Descriptor();
}

std::optional<std::string> administratorsLink(const HeldDirectory& directory, const std::string& name) {
    char target[PATH_MAX];
    const ssize_t length = ::readlinkat(directory.descriptor(), name.c_str(), target, sizeof target);
    struct stat status {};
    const bool isOwn = ::fstatat(directory.descriptor(), name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0 &&
                       isAdministrator(status.st_uid);
    // One of others' may have come before the directory was made the administrator's.
    if (length <= 0 || !isOwn || directory.othersWrite()) {
        return std::nullopt;
    }
    return std::string(target, static_cast<size_t>(length));
}

}  // namespace zp::host
