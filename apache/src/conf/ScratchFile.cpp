#include "conf/ScratchFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "conf/Text.h"
#include "conf/WriteAll.h"
#include "host/Machine.h"

namespace zp::conf {

namespace {

constexpr unsigned WritebackInterval = 16;  // in buffers
constexpr mode_t OwnerOnly = 0600;

int openScratch(const std::string& path, ScratchFile::Opening opening) {
    constexpr int flags = O_WRONLY | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NOCTTY;
    if (opening == ScratchFile::Opening::Append) {
        return ::open(path.c_str(), flags | O_APPEND, OwnerOnly);
    }
    struct stat status {};
    if (::lstat(path.c_str(), &status) == 0 && (S_ISREG(status.st_mode) || S_ISLNK(status.st_mode))) {
        ::unlink(path.c_str());
    }
    return ::open(path.c_str(), flags | O_EXCL, OwnerOnly);
}

// The path itself, unless it is a link: then the path of the file behind it.
std::string behindLink(const std::string& path) {
    struct stat status {};
    char resolved[PATH_MAX];
    if (::lstat(path.c_str(), &status) == 0 && S_ISLNK(status.st_mode) &&
        ::realpath(path.c_str(), resolved) != nullptr) {
        return resolved;
    }
    return path;
}

bool takeOverModeAndOwner(int descriptor, const std::string& target) {
    struct stat status {};
    if (::stat(target.c_str(), &status) != 0) {
        return true;  // nothing to take over
    }
    // The owner goes first: a change of owner clears the set-ID bits.
    if (::fchown(descriptor, status.st_uid, status.st_gid) != 0 && errno != EPERM) {
        return false;
    }
    return ::fchmod(descriptor, status.st_mode & 07777) == 0;
}

}  // namespace

ScratchFile::ScratchFile(const std::string& path, Opening opening)
    : path_(host::machine().scratch(path)),
      descriptor_(openScratch(path_, opening)),
      buffer_(isOpen() ? new char[BufferSize] : nullptr) {}

ScratchFile::~ScratchFile() { close(); }

void ScratchFile::writeLine(std::string_view text) {
    if (!isOneLine(text)) {
        whole_ = false;
        return;
    }
    copyLine(text);
}

void ScratchFile::append(std::string_view text) {
    while (!text.empty() && isOpen()) {
        if (used_ == BufferSize) {
            static_cast<void>(flush());
        }
        const size_t count = std::min(text.size(), BufferSize - used_);
        std::memcpy(buffer_.get() + used_, text.data(), count);
        used_ += count;
        text.remove_prefix(count);
    }
}

bool ScratchFile::flush() {
    whole_ = whole_ && isOpen() && writeAll(descriptor_, {buffer_.get(), used_});
    used_ = 0;
    if (++flushes_ % WritebackInterval == 0) {
        // The disk starts on what is there; else "mv" over the old file waits for all of it.
        static_cast<void>(::sync_file_range(descriptor_, 0, 0, SYNC_FILE_RANGE_WRITE));
    }
    return whole_;
}

void ScratchFile::close() {
    if (!isOpen()) {
        return;
    }
    static_cast<void>(flush());
    whole_ = ::close(descriptor_) == 0 && whole_;
    descriptor_ = -1;
}

bool ScratchFile::moveTo(const std::string& target) {
    const std::string place = behindLink(target);
    if (!finishAs(place)) {
        return false;
    }
    host::machine().move(path_, place);
    return true;
}

bool ScratchFile::renameTo(const std::string& target) {
    const std::string place = behindLink(target);
    if (!finishAs(place)) {
        return false;
    }
    static_cast<void>(!std::rename(path_.c_str(), place.c_str()));
    return true;
}

bool ScratchFile::finishAs(const std::string& place) {
    whole_ = flush() && takeOverModeAndOwner(descriptor_, place);
    close();
    if (!whole_) {
        remove();
    }
    return whole_;
}

void ScratchFile::remove() {
    close();
    ::remove(path_.c_str());
}

}  // namespace zp::conf
