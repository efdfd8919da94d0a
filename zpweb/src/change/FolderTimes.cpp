#include "change/FolderTimes.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <array>

namespace zpweb {

void FolderTimes::remember(const std::string& folder) {
    struct stat status {};
    if (::stat(folder.c_str(), &status) == 0) {
        changed_.try_emplace(folder, status.st_mtim);
    }
}

void FolderTimes::restore() {
    for (const auto& [folder, changed] : changed_) {
        const std::array<timespec, 2> times{timespec{0, UTIME_OMIT}, changed};
        ::utimensat(AT_FDCWD, folder.c_str(), times.data(), 0);
    }
    changed_.clear();
}

}  // namespace zpweb
