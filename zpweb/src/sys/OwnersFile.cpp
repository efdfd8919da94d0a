#include "sys/OwnersFile.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>

#include "host/Machine.h"
#include "sys/Attributes.h"
#include "sys/File.h"
#include "sys/GuardedDirectory.h"
#include "sys/Hash.h"

namespace zpweb {

namespace {

constexpr size_t LargestNamedFile = 256UL << 20;
constexpr int OpenFile = O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;

constexpr const char* SeveralNames = "it has more than one name; a hard link may be somebody else's file";

bool isOfAdministrator(const struct stat& directory) {
    return directory.st_uid == 0 && (directory.st_mode & (S_IWGRP | S_IWOTH)) == 0;
}

// What keeps it from being read as one that was named; empty when nothing does.
const char* faultOfNamed(const struct stat& file, const struct stat& directory) {
    return !S_ISREG(file.st_mode)                               ? "not a regular file"
           : file.st_nlink > 1 && !isOfAdministrator(directory) ? SeveralNames
                                                                : "";
}

// The same for one that is shown to all: a file that is closed to them can have been moved there.
const char* faultOfShown(const struct stat& file, const struct stat& directory) {
    const bool isClosed = (file.st_mode & S_IROTH) == 0 && file.st_uid != directory.st_uid;
    return isClosed && !isOfAdministrator(directory)
               ? "it is closed to others and not of the owner of its directory, who may have moved it there"
               : faultOfNamed(file, directory);
}

// What keeps it from being taken for a file of the site's; empty when nothing does.
const char* faultOf(const struct stat& file, const struct stat& directory) {
    if (!S_ISREG(file.st_mode)) {
        return "not a regular file";
    }
    if (file.st_nlink > 1) {
        return SeveralNames;
    }
    if (!isOfAdministrator(directory) && file.st_uid != 0 && file.st_uid != directory.st_uid) {
        return "it belongs neither to root nor to the owner of its directory";
    }
    return static_cast<size_t>(file.st_size) > LargestOwnersFile ? "larger than 1 MiB" : "";
}

using FaultOf = const char* (*)(const struct stat& file, const struct stat& directory);

Expected<Descriptor> openAt(const std::string& path, FaultOf faultOf) {
    const auto directory = openGuarded(directoryOf(path));
    if (!directory.ok()) {
        return directory.outcome();
    }
    Descriptor file(::openat(directory->number(), nameOf(path).c_str(), OpenFile));
    if (!file.isOpen() && errno == ELOOP) {
        return failure(path + ": a symbolic link; it is not followed");
    }
    struct stat status {};
    struct stat above {};
    if (!file.isOpen() || ::fstat(file.number(), &status) != 0 ||
        ::fstat(directory->number(), &above) != 0) {
        zp::host::noteFault(path);
        return failure(errno == ENOENT ? Status::NotFound : Status::Error, systemError(path));
    }
    const std::string fault = faultOf(status, above);
    return fault.empty() ? Expected(std::move(file)) : Expected<Descriptor>(failure(path + ": " + fault));
}

Expected<Descriptor> openOwnersFile(const std::string& path) { return openAt(path, faultOf); }

}  // namespace

Expected<std::string> readOwnersFile(const std::string& path) {
    const auto file = openOwnersFile(path);
    return file.ok() ? readDescriptor(*file, path, LargestOwnersFile) : file.outcome();
}

Expected<std::string> readNamedFile(const std::string& path, ReadBy readers) {
    const auto place = behindGuardedLinks(path);
    const auto file =
        place.ok() ? openAt(*place, readers == ReadBy::All ? faultOfShown : faultOfNamed) : place.outcome();
    return file.ok() ? readDescriptor(*file, path, LargestNamedFile) : file.outcome();
}

Outcome takeOverFromOwnersFile(const std::string& path, const std::string& hash,
                               const Descriptor& candidate) {
    const auto file = openOwnersFile(path);
    const auto text =
        file.ok() ? readDescriptor(*file, path, LargestOwnersFile) : Expected<std::string>(file.outcome());
    if (!text.ok()) {
        return text.outcome();
    }
    return contentHash(*text) == hash ? takeOverAttributes(*file, candidate, path, ModeBits::WithoutSetId)
                                      : done();
}

}  // namespace zpweb
