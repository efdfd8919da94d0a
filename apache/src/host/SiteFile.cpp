#include "host/SiteFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

namespace zp::host {

namespace {

constexpr mode_t OwnerOnly = 0600;
constexpr int SameFile = O_CLOEXEC | O_NOFOLLOW | O_NOCTTY | O_NONBLOCK;

}  // namespace

SiteFile::SiteFile(const std::string& path)
    : path_(path), name_(locationOf(path).name), folder_(Folder::openGuarded(locationOf(path).folder)) {}

SiteFile::State SiteFile::state() const {
    if (!folder_) {
        return exists(locationOf(path_).folder) ? State::Blocked : State::Missing;
    }
    struct stat status {};
    if (::fstatat(folder_->descriptor(), name_.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) {
        return errno == ENOENT ? State::Missing : State::Blocked;
    }
    return S_ISREG(status.st_mode) ? State::Present : State::Blocked;
}

bool SiteFile::make() const {
    if (!folder_) {
        return false;
    }
    const int file =
        ::openat(folder_->descriptor(), name_.c_str(), O_WRONLY | O_CREAT | O_EXCL | SameFile, OwnerOnly);
    return file >= 0 && ::close(file) == 0;
}

std::optional<off_t> SiteFile::size() const {
    struct stat status {};
    if (!folder_ || ::fstatat(folder_->descriptor(), name_.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0 ||
        !S_ISREG(status.st_mode)) {
        return std::nullopt;
    }
    return status.st_size;
}

void SiteFile::setMode(mode_t mode) const {
    const int file = folder_ ? ::openat(folder_->descriptor(), name_.c_str(), O_RDONLY | SameFile) : -1;
    struct stat status {};
    if (file < 0) {
        return;
    }
    if (::fstat(file, &status) == 0 && S_ISREG(status.st_mode)) {
        static_cast<void>(::fchmod(file, mode));
    }
    ::close(file);
}

void SiteFile::remove() const {
    if (folder_) {
        ::unlinkat(folder_->descriptor(), name_.c_str(), 0);
    }
}

}  // namespace zp::host
