#include "change/DirectoryTimes.h"

#include <fcntl.h>

#include <array>

#include "sys/GuardedDirectory.h"

namespace zpweb {

void DirectoryTimes::remember(const std::string& directory) {
    struct stat status {};
    if (::stat(directory.c_str(), &status) == 0) {
        before_.try_emplace(directory, status);
    }
}

void DirectoryTimes::restore() {
    for (const auto& [path, before] : before_) {
        const auto directory = openGuarded(path);
        struct stat now {};
        if (directory.ok() && ::fstat(directory->number(), &now) == 0 && now.st_dev == before.st_dev &&
            now.st_ino == before.st_ino) {
            const std::array<timespec, 2> times{timespec{0, UTIME_OMIT}, before.st_mtim};
            ::futimens(directory->number(), times.data());
        }
    }
    before_.clear();
}

}  // namespace zpweb
