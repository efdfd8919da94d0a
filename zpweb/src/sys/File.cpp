#include "sys/File.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/xattr.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>

#include "conf/WriteAll.h"

using zp::conf::writeAll;

namespace zpweb {

namespace {

Expected<Descriptor> openToRead(const std::string& path, struct stat& status) {
    Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    if (!file.isOpen() || ::fstat(file.number(), &status) != 0) {
        return failure(errno == ENOENT ? Status::NotFound : Status::Error, systemError(path));
    }
    if (!S_ISREG(status.st_mode)) {
        return failure(path + ": not a regular file");
    }
    return file;
}

// Fills the buffer; less is read at the end of the file only. -1 when it cannot be read.
ssize_t readInto(int descriptor, char* buffer, size_t size) {
    size_t used = 0;
    while (used < size) {
        const ssize_t count = ::read(descriptor, buffer + used, size - used);
        if (count < 0 && errno != EINTR) {
            return -1;
        }
        if (count == 0) {
            break;
        }
        used += count < 0 ? 0 : static_cast<size_t>(count);
    }
    return static_cast<ssize_t>(used);
}

std::vector<std::string> attributeNames(const std::string& path) {
    std::vector<char> names(4096);
    const ssize_t size = ::listxattr(path.c_str(), names.data(), names.size());
    std::vector<std::string> found;
    for (ssize_t at = 0; at < size;) {
        found.emplace_back(names.data() + at);
        at += static_cast<ssize_t>(found.back().size()) + 1;
    }
    return found;
}

bool copyAttribute(const std::string& from, const std::string& to, const std::string& name) {
    std::vector<char> value(65536);
    const ssize_t size = ::getxattr(from.c_str(), name.c_str(), value.data(), value.size());
    return size < 0 ||
           ::setxattr(to.c_str(), name.c_str(), value.data(), static_cast<size_t>(size), 0) == 0;
}

}  // namespace

std::string systemError(const std::string& path) { return path + ": " + std::strerror(errno); }

std::string folderOf(const std::string& path) {
    const size_t slash = path.rfind('/');
    if (slash == std::string::npos) {
        return ".";
    }
    return slash == 0 ? "/" : path.substr(0, slash);
}

std::string nameOf(const std::string& path) { return path.substr(path.rfind('/') + 1); }

Expected<std::string> realPathOf(const std::string& path) {
    const std::unique_ptr<char, decltype(&std::free)> resolved(::realpath(path.c_str(), nullptr),
                                                               &std::free);
    if (!resolved) {
        return failure(errno == ENOENT || errno == ENOTDIR ? Status::NotFound : Status::Error,
                       systemError(path));
    }
    return std::string(resolved.get());
}

bool exists(const std::string& path) {
    struct stat status {};
    return ::lstat(path.c_str(), &status) == 0;
}

bool isFolder(const std::string& path) {
    struct stat status {};
    return ::stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

bool isFile(const std::string& path) {
    struct stat status {};
    return ::stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode);
}

std::vector<std::string> entriesOf(const std::string& folder) {
    std::vector<std::string> names;
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(folder, error)) {
        names.push_back(entry.path().filename());
    }
    std::sort(names.begin(), names.end());
    return names;
}

Expected<std::string> readFile(const std::string& path) {
    struct stat status {};
    const auto file = openToRead(path, status);
    if (!file.ok()) {
        return file.outcome();
    }
    // One more than it holds, so that its end is met without a second buffer.
    std::string text(static_cast<size_t>(status.st_size) + 1, '\0');
    for (size_t used = 0;;) {
        const ssize_t count = readInto(file->number(), text.data() + used, text.size() - used);
        if (count < 0) {
            return failure(systemError(path));
        }
        used += static_cast<size_t>(count);
        if (used < text.size()) {
            text.resize(used);
            return text;
        }
        text.resize(text.size() * 2);
    }
}

Outcome readParts(const std::string& path, const std::function<void(std::string_view)>& take) {
    struct stat status {};
    const auto file = openToRead(path, status);
    if (!file.ok()) {
        return file.outcome();
    }
    constexpr size_t PartSize = 131072;
    const auto part = std::make_unique<char[]>(PartSize);
    for (;;) {
        const ssize_t count = readInto(file->number(), part.get(), PartSize);
        if (count < 0) {
            return failure(systemError(path));
        }
        take({part.get(), static_cast<size_t>(count)});
        if (static_cast<size_t>(count) < PartSize) {
            return done();
        }
    }
}

Outcome writeNewFile(const std::string& path, std::span<const std::string_view> pieces, mode_t mode) {
    const Descriptor file(::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, mode));
    const bool written = file.isOpen() && std::all_of(pieces.begin(), pieces.end(), [&](auto piece) {
                             return writeAll(file.number(), piece);
                         });
    if (written) {
        return done();
    }
    Outcome failed = failure(systemError(path));
    if (file.isOpen()) {
        ::unlink(path.c_str());
    }
    return failed;
}

Outcome replaceFile(const std::string& path, std::string_view text, mode_t mode) {
    const std::string fresh = path + ".new";
    ::unlink(fresh.c_str());
    if (Outcome written = writeNewFile(fresh, text, mode); !written.ok()) {
        return written;
    }
    if (Outcome synced = sync(fresh); !synced.ok()) {
        return synced;
    }
    return ::rename(fresh.c_str(), path.c_str()) == 0 ? sync(folderOf(path)) : failure(systemError(path));
}

Outcome appendLine(const std::string& path, std::string_view line, mode_t mode) {
    const Descriptor file(
        ::open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC | O_NOFOLLOW, mode));
    if (!file.isOpen() || !writeAll(file.number(), std::string(line) + "\n")) {
        return failure(systemError(path));
    }
    return done();
}

Outcome takeOverAttributes(const std::string& from, const std::string& to) {
    struct stat old {};
    struct stat fresh {};
    if (::stat(from.c_str(), &old) != 0 || ::stat(to.c_str(), &fresh) != 0) {
        return failure(systemError(from));
    }
    // The owner goes first: a change of owner clears the set-ID bits.
    const bool sameOwner = old.st_uid == fresh.st_uid && old.st_gid == fresh.st_gid;
    if ((!sameOwner && ::chown(to.c_str(), old.st_uid, old.st_gid) != 0) ||
        ::chmod(to.c_str(), old.st_mode & 07777) != 0) {
        return failure("cannot keep owner and mode of " + systemError(from));
    }
    for (const std::string& name : attributeNames(from)) {
        // What the kernel's security modules label is theirs to set.
        if (!copyAttribute(from, to, name) && !name.starts_with("security.")) {
            return failure("cannot keep the attribute " + name + " of " + systemError(from));
        }
    }
    return done();
}

Outcome sync(const std::string& path) {
    const Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (!file.isOpen() || ::fsync(file.number()) != 0) {
        return failure(systemError(path));
    }
    return done();
}

Outcome makeFolder(const std::string& path, mode_t mode) {
    if (::mkdir(path.c_str(), mode) != 0 && (errno != EEXIST || !isFolder(path))) {
        return failure(systemError(path));
    }
    return done();
}

void removeTree(const std::string& path) {
    std::error_code ignored;
    std::filesystem::remove_all(path, ignored);
}

}  // namespace zpweb
