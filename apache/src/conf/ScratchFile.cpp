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
#include "host/Access.h"
#include "host/Machine.h"
#include "host/WriteAll.h"

namespace zp::conf {

namespace {

constexpr unsigned WritebackInterval = 16;  // in buffers
constexpr mode_t OwnerOnly = 0600;

host::Descriptor openScratch(int directory, const std::string& path, ScratchFile::Opening opening) {
    constexpr int flags = O_WRONLY | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NOCTTY;
    if (opening == ScratchFile::Opening::Append) {
        return host::Descriptor(::openat(directory, path.c_str(), flags | O_APPEND, OwnerOnly));
    }
    struct stat status {};
    if (::fstatat(directory, path.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0 &&
        (S_ISREG(status.st_mode) || S_ISLNK(status.st_mode))) {
        ::unlinkat(directory, path.c_str(), 0);
    }
    return host::Descriptor(::openat(directory, path.c_str(), flags | O_EXCL, OwnerOnly));
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

}  // namespace

ScratchFile::ScratchFile(const std::string& path, Opening opening)
    : directory_(AT_FDCWD),
      path_(host::machine().scratch(path)),
      file_(openScratch(directory_, path_, opening)),
      buffer_(isOpen() ? new char[BufferSize] : nullptr) {}

ScratchFile::ScratchFile(int directory, const std::string& name)
    : directory_(directory),
      path_(name),
      file_(openScratch(directory_, path_, Opening::Fresh)),
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
    whole_ = whole_ && isOpen() && host::writeAll(file_.number(), {buffer_.get(), used_});
    used_ = 0;
    if (++flushes_ % WritebackInterval == 0) {
        // The disk starts on what is there; else "mv" over the old file waits for all of it.
        static_cast<void>(::sync_file_range(file_.number(), 0, 0, SYNC_FILE_RANGE_WRITE));
    }
    return whole_;
}

void ScratchFile::close() {
    if (!isOpen()) {
        return;
    }
    static_cast<void>(flush());
    whole_ = ::close(file_.release()) == 0 && whole_;
}

bool ScratchFile::moveTo(const std::string& target, int source) {
    const std::string place = behindLink(target);
    return finish(source) && host::machine().move(path_, place);
}

bool ScratchFile::renameTo(const std::string& name, int source) {
    const bool synced = flush() && ::fsync(file_.number()) == 0;
    whole_ = whole_ && synced;
    if (!finish(source)) {
        return false;
    }
    const std::string place = directory_ == AT_FDCWD ? behindLink(name) : name;
    if (::renameat(directory_, path_.c_str(), directory_, place.c_str()) != 0) {
        remove();
        return false;
    }
    return true;
}

bool ScratchFile::finish(int source) {
    whole_ = flush() && (source < 0 || host::takeOverAccess(source, file_.number()));
    close();
    if (!whole_) {
        remove();
    }
    return whole_;
}

void ScratchFile::remove() {
    close();
    if (::unlinkat(directory_, path_.c_str(), 0) != 0 && errno != ENOENT) {
        ::unlinkat(directory_, path_.c_str(), 0);  // what fails for a moment leaves nothing behind
    }
}

}  // namespace zp::conf
