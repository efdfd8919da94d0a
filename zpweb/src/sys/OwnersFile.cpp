#include "sys/OwnersFile.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>

#include "sys/Attributes.h"
#include "sys/File.h"
#include "sys/GuardedDirectory.h"
#include "sys/Hash.h"

namespace zpweb {

namespace {

constexpr int OpenFile = O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;

// What keeps it from being taken for a file of the site's; empty when nothing does.
const char* faultOf(const struct stat& file, const struct stat& directory) {
    if (!S_ISREG(file.st_mode)) {
        return "not a regular file";
    }
    if (file.st_nlink > 1) {
        return "it has more than one name; a hard link may be somebody else's file";
    }
    const bool ofAdministrator = directory.st_uid == 0 && (directory.st_mode & (S_IWGRP | S_IWOTH)) == 0;
    if (!ofAdministrator && file.st_uid != 0 && file.st_uid != directory.st_uid) {
        return "it belongs neither to root nor to the owner of its directory";
    }
    return static_cast<size_t>(file.st_size) > LargestOwnersFile ? "larger than 1 MiB" : "";
}

Expected<Descriptor> openOwnersFile(const std::string& path) {
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
        return failure(errno == ENOENT ? Status::NotFound : Status::Error, systemError(path));
    }
    const std::string fault = faultOf(status, above);
    return fault.empty() ? Expected(std::move(file)) : Expected<Descriptor>(failure(path + ": " + fault));
}

}  // namespace

Expected<std::string> readOwnersFile(const std::string& path) {
    const auto file = openOwnersFile(path);
    return file.ok() ? readDescriptor(*file, path, LargestOwnersFile) : file.outcome();
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
