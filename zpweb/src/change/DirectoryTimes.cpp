#include "change/DirectoryTimes.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <array>

namespace zpweb {

void DirectoryTimes::remember(const std::string& directory) {
    struct stat status {};
    if (::stat(directory.c_str(), &status) == 0) {
        changed_.try_emplace(directory, status.st_mtim);
    }
}

void DirectoryTimes::restore() {
    for (const auto& [directory, changed] : changed_) {
        const std::array<timespec, 2> times{timespec{0, UTIME_OMIT}, changed};
        ::utimensat(AT_FDCWD, directory.c_str(), times.data(), 0);
    }
    changed_.clear();
}

}  // namespace zpweb
