#include "sys/GuardedDirectory.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "host/HeldDirectory.h"
#include "host/Machine.h"
#include "sys/File.h"

namespace host = zp::host;

namespace zpweb {

namespace {

constexpr int MostLinks = 40;  // on one way; the system's own limit

Outcome notFollowed(const std::string& path, const std::string& link) {
    return failure(path + ": reached through a symbolic link (" + link +
                   ") that others than root can place; it is not followed");
}

Expected<host::HeldDirectory> holdGuarded(const std::string& path) {
    host::HeldDirectory::Obstacle obstacle;
    auto directory = host::HeldDirectory::hold(path, &obstacle);
    if (directory) {
        return std::move(*directory);
    }
    if (!obstacle.link.empty()) {
        return notFollowed(path, obstacle.link);
    }
    errno = obstacle.error;
    host::noteFault(path);
    return failure(obstacle.error == ENOENT ? Status::NotFound : Status::Error, systemError(path));
}

}  // namespace

Expected<Descriptor> openGuarded(const std::string& path) {
    auto directory = holdGuarded(path);
    return directory.ok() ? Expected(directory->release()) : directory.outcome();
}

Outcome reachedWithoutForeignLink(const std::string& path) {
    const Outcome opened = openGuarded(path).outcome();
    return opened.status == Status::NotFound ? done() : opened;
}

Expected<std::string> behindGuardedLinks(std::string path) {
    for (int links = 0; links < MostLinks; ++links) {
        const auto directory = holdGuarded(directoryOf(path));
        if (!directory.ok()) {
            return directory.outcome();
        }
        const std::string name = nameOf(path);
        struct stat status {};
        if (::fstatat(directory->descriptor(), name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) {
            host::noteFault(path);
            return failure(errno == ENOENT ? Status::NotFound : Status::Error, systemError(path));
        }
        if (!S_ISLNK(status.st_mode)) {
            return path;
        }
        const auto target = host::administratorsLink(*directory, name);
        if (!target) {
            return notFollowed(path, name);
        }
        path = target->starts_with('/') ? *target : directoryOf(path) + "/" + *target;
    }
    return failure(path + ": too many symbolic links");
}

Outcome isNotMovedThere(const std::string& path) {
    const auto parent = host::HeldDirectory::hold(directoryOf(path));
    const auto directory = host::HeldDirectory::hold(path);
    return parent && directory && host::mayBeMovedInto(*parent, directory->descriptor())
               ? failure(Status::Refused,
                         path +
                             ": root's and closed, in a directory that others can write, who "
                             "may have moved it there; chmod o+rx when it is meant")
               : done();
}

std::string pathIn(const Descriptor& directory, const std::string& name) {
    return "/proc/self/fd/" + std::to_string(directory.number()) + (name.empty() ? "" : "/" + name);
}

Outcome toldBy(const std::string& path, const std::string& place, Outcome outcome) {
    const size_t at = outcome.message.find(place);
    if (at != std::string::npos) {
        outcome.message.replace(at, place.size(), path);
    }
    return outcome;
}

Outcome removeFile(const std::string& path) {
    const auto directory = openGuarded(directoryOf(path));
    const bool gone = directory.ok() &&
                      (::unlinkat(directory->number(), nameOf(path).c_str(), 0) == 0 || errno == ENOENT);
    return gone || directory.outcome().status == Status::NotFound ? done()
           : directory.ok()                                       ? failure(systemError(path))
                                                                  : directory.outcome();
}

}  // namespace zpweb
