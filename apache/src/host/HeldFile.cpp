#include "host/HeldFile.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>

#include "host/FileSystem.h"
#include "host/Machine.h"

namespace zp::host {

namespace {

constexpr mode_t OwnerOnly = 0600;
constexpr mode_t NewFileMode = 0644;
constexpr int SameFile = O_CLOEXEC | O_NOFOLLOW | O_NOCTTY | O_NONBLOCK;

}  // namespace

HeldFile::HeldFile(const std::string& path, Size size)
    : path_(path), name_(locationOf(path).name), size_(size) {
    HeldDirectory::Obstacle obstacle;
    directory_ = HeldDirectory::hold(locationOf(path).directory, &obstacle);
    if (!obstacle.link.empty()) {
        withoutDirectory_ = State::Blocked;
    } else if (!directory_ && obstacle.error != ENOENT && obstacle.error != ENOTDIR) {
        withoutDirectory_ = State::Unknown;
        errno = obstacle.error;
        noteFault(path_);
    }
}

HeldFile::State HeldFile::state() const {
    if (!directory_) {
        return withoutDirectory_;
    }
    const Descriptor file(::openat(directory_->descriptor(), name_.c_str(), O_PATH | SameFile));
    if (!file.isOpen()) {
        const bool missing = errno == ENOENT;
        noteFault(path_);
        return missing ? State::Missing : State::Unknown;
    }
    return isFit(file.number()) ? State::Present : State::Blocked;
}

std::optional<off_t> HeldFile::size() const {
    const Descriptor file = open(O_RDONLY);
    struct stat status {};
    if (!file.isOpen() || ::fstat(file.number(), &status) != 0) {
        return std::nullopt;
    }
    return status.st_size;
}

Descriptor HeldFile::open(int flags) const {
    if (!directory_) {
        return Descriptor();
    }
    if ((flags & O_CREAT) != 0) {
        Descriptor made(
            ::openat(directory_->descriptor(), name_.c_str(), flags | O_EXCL | SameFile, OwnerOnly));
        if (made.isOpen()) {
            return ::fchmod(made.number(), NewFileMode) == 0 ? std::move(made) : Descriptor();
        }
    }
    const int existing = (flags & ~O_CREAT) | SameFile;
    Descriptor file(::openat(directory_->descriptor(), name_.c_str(), existing));
    if (!file.isOpen()) {
        noteFault(path_);
    } else if (!isFit(file.number())) {
        file.close();
    }
    return file;
}

bool HeldFile::remove() const {
    return directory_ && (::unlinkat(directory_->descriptor(), name_.c_str(), 0) == 0 || errno == ENOENT);
}

bool HeldFile::isFit(int file) const {
    struct stat status {};
    if (::fstat(file, &status) != 0) {
        noteFault(path_);
        return false;
    }
    if (!S_ISREG(status.st_mode)) {
        return false;
    }
    return !othersWrite() ||
           (status.st_nlink == 1 && (status.st_mode & (S_ISUID | S_ISGID)) == 0 &&
            directory_->mayOwn(status.st_uid) && (size_ == Size::Any || status.st_size <= LargestOfOwner));
}

std::string pathOf(int file) {
    return "/proc/" + std::to_string(::getpid()) + "/fd/" + std::to_string(file);
}

}  // namespace zp::host
