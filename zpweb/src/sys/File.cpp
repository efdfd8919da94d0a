#include "sys/File.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "host/HeldDirectory.h"
#include "host/Machine.h"
#include "host/Tree.h"
#include "host/WriteAll.h"

using zp::host::noteFault;
using zp::host::writeAll;

namespace zpweb {

namespace {

constexpr size_t PartSize = 131072;
constexpr size_t LargestOfOthers = 256UL << 20;

bool look(const std::string& path, int result) {
    if (result != 0) {
        noteFault(path);
    }
    return result == 0;
}

Expected<Descriptor> openToRead(const std::string& path, struct stat& status) {
    Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    if (!file.isOpen() || ::fstat(file.number(), &status) != 0) {
        noteFault(path);
        return failure(errno == ENOENT ? Status::NotFound : Status::Error, systemError(path));
    }
    if (!S_ISREG(status.st_mode)) {
        return failure(path + ": not a regular file");
    }
    return file;
}

// A file that is looked at before it is opened.
Expected<Descriptor> openLooked(const std::string& path, struct stat& status) {
    const Descriptor place(::open(path.c_str(), O_PATH | O_CLOEXEC));
    if (place.isOpen() && ::fstat(place.number(), &status) == 0 && !S_ISREG(status.st_mode)) {
        return failure(path + ": not a regular file");
    }
    const std::string held = "/proc/self/fd/" + std::to_string(place.number());
    Descriptor file(place.isOpen() ? ::open(held.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK) : -1);
    if (!file.isOpen()) {
        noteFault(path);
        return failure(errno == ENOENT ? Status::NotFound : Status::Error, systemError(path));
    }
    return file;
}

// Fills the buffer; less is read at the end of the file only. -1 when it cannot be read.
ssize_t readInto(int descriptor, char* buffer, size_t size) {
    size_t used = 0;
    while (used < size) {
        const ssize_t count = ::read(descriptor, buffer + used, size - used);
        if (count < 0 && errno != EINTR) {
            noteFault("read");
            return -1;
        }
        if (count == 0) {
            break;
        }
        used += count < 0 ? 0 : static_cast<size_t>(count);
    }
    return static_cast<ssize_t>(used);
}

// Whole, however much it grows meanwhile.
Expected<std::string> readExpected(const Descriptor& file, const std::string& path, size_t expected,
                                   size_t limit) {
    // One more than it holds, so that its end is met without a second buffer.
    std::string text(expected + 1, '\0');
    for (size_t used = 0;;) {
        const ssize_t count = readInto(file.number(), text.data() + used, text.size() - used);
        if (count < 0) {
            return failure(systemError(path));
        }
        used += static_cast<size_t>(count);
        if (used > limit) {
            return failure(path + ": larger than " + std::to_string(limit) + " bytes");
        }
        if (used < text.size()) {
            text.resize(used);
            return text;
        }
        text.resize(text.size() * 2);
    }
}

bool isNoPlainFile(int error) {
    return error == ENOTDIR || error == ELOOP || error == ENXIO || error == EWOULDBLOCK ||
           zp::host::isShutOut(error);
}

}  // namespace

std::string systemError(const std::string& path) { return path + ": " + std::strerror(errno); }

std::string directoryOf(const std::string& path) {
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
        noteFault(path);
        return failure(errno == ENOENT || errno == ENOTDIR ? Status::NotFound : Status::Error,
                       systemError(path));
    }
    return std::string(resolved.get());
}

bool exists(const std::string& path) {
    struct stat status {};
    return look(path, ::lstat(path.c_str(), &status));
}

bool isDirectory(const std::string& path) {
    struct stat status {};
    return look(path, ::stat(path.c_str(), &status)) && S_ISDIR(status.st_mode);
}

bool isFile(const std::string& path) {
    struct stat status {};
    return look(path, ::stat(path.c_str(), &status)) && S_ISREG(status.st_mode);
}

std::optional<std::string> linkTarget(const std::string& path) {
    std::array<char, PATH_MAX> target{};
    const ssize_t length = ::readlink(path.c_str(), target.data(), target.size());
    static_cast<void>(look(path, length < 0 ? -1 : 0));
    return length < 0 ? std::nullopt
                      : std::optional(std::string(target.data(), static_cast<size_t>(length)));
}

Expected<std::vector<std::string>> listed(const std::string& directory) {
    const std::unique_ptr<DIR, int (*)(DIR*)> open(::opendir(directory.c_str()), ::closedir);
    std::vector<std::string> names;
    errno = open ? 0 : errno;
    while (const dirent* entry = open ? ::readdir(open.get()) : nullptr) {
        const std::string_view name = entry->d_name;
        if (name != "." && name != "..") {
            names.emplace_back(name);
        }
    }
    if (errno != 0) {
        noteFault(directory);
        return failure(errno == ENOENT ? Status::NotFound : Status::Error, systemError(directory));
    }
    std::sort(names.begin(), names.end());
    return names;
}

std::vector<std::string> entriesOf(const std::string& directory) {
    auto names = listed(directory);
    return names.ok() ? std::move(*names) : std::vector<std::string>();
}

Expected<std::string> readFile(const std::string& path, size_t limit) {
    struct stat status {};
    const auto file = limit == std::string::npos ? openToRead(path, status) : openLooked(path, status);
    if (!file.ok()) {
        return file.outcome();
    }
    return readExpected(*file, path, std::min(static_cast<size_t>(status.st_size), limit), limit);
}

Expected<Descriptor> openRegular(const std::string& path) {
    struct stat status {};
    return openLooked(path, status);
}

Expected<std::string> readDescriptor(const Descriptor& file, const std::string& path, size_t limit) {
    return readExpected(file, path, size_t{4096}, limit);
}

Expected<bool> readParts(const std::string& path, const std::function<void(std::string_view)>& take) {
    struct stat status {};
    const Descriptor file(::open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    if (!file.isOpen() && isNoPlainFile(errno)) {
        return false;
    }
    if (!file.isOpen() || ::fstat(file.number(), &status) != 0) {
        noteFault(path);
        return failure(errno == ENOENT ? Status::NotFound : Status::Error, systemError(path));
    }
    const bool isOthers = status.st_uid != 0 && status.st_uid != ::geteuid();
    size_t left = !S_ISREG(status.st_mode) ? 0 : isOthers ? LargestOfOthers : SIZE_MAX;
    const auto part = std::make_unique<char[]>(PartSize);
    for (size_t got = PartSize; left > 0 && got == PartSize; left -= std::min(got, left)) {
        const ssize_t count = readInto(file.number(), part.get(), PartSize);
        if (count < 0) {
            return failure(systemError(path));
        }
        got = static_cast<size_t>(count);
        take({part.get(), got});
    }
    return left > 0;
}

Expected<Descriptor> makeNewFile(const std::string& path, std::span<const std::string_view> pieces,
                                 mode_t mode) {
    Descriptor file(::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, mode));
    const bool written = file.isOpen() && ::fchmod(file.number(), mode) == 0 &&
                         std::all_of(pieces.begin(), pieces.end(),
                                     [&](auto piece) { return writeAll(file.number(), piece); });
    if (written) {
        return file;
    }
    Outcome failed = failure(systemError(path));
    if (file.isOpen()) {
        ::unlink(path.c_str());
    }
    return failed;
}

Outcome writeNewFile(const std::string& path, std::span<const std::string_view> pieces, mode_t mode) {
    return makeNewFile(path, pieces, mode).outcome();
}

Outcome replaceFile(const std::string& path, std::string_view text, mode_t mode) {
    const std::string fresh = path + ".new";
    ::unlink(fresh.c_str());
    if (Outcome written = writeNewFile(fresh, text, mode); !written.ok()) {
        return written;
    }
    Outcome placed = sync(fresh);
    if (placed.ok() && ::rename(fresh.c_str(), path.c_str()) != 0) {
        placed = failure(systemError(path));
    }
    if (!placed.ok()) {
        ::unlink(fresh.c_str());
    }
    return placed.ok() ? sync(directoryOf(path)) : placed;
}

Outcome appendLine(const std::string& path, std::string_view line, mode_t mode) {
    const Descriptor file(::open(path.c_str(), O_RDWR | O_CREAT | O_APPEND | O_CLOEXEC | O_NOFOLLOW, mode));
    struct stat status {};
    if (!file.isOpen() || ::fstat(file.number(), &status) != 0) {
        return failure(systemError(path));
    }
    char last = '\n';
    if (status.st_size > 0 && ::pread(file.number(), &last, 1, status.st_size - 1) != 1) {
        return failure(systemError(path));
    }
    const std::string text = (last == '\n' ? "" : "\n") + std::string(line) + "\n";
    return writeAll(file.number(), text) && ::fsync(file.number()) == 0 ? done()
                                                                        : failure(systemError(path));
}

Outcome sync(const Descriptor& file, const std::string& path) {
    return ::fsync(file.number()) == 0 ? done() : failure(systemError(path));
}

Outcome sync(const std::string& path) {
    // An owner may have put a pipe in the place of a directory: it is not waited for.
    const Descriptor file(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    return file.isOpen() ? sync(file, path) : failure(systemError(path));
}

Outcome createDirectory(const std::string& path, mode_t mode) {
    if (::mkdir(path.c_str(), mode) == 0) {
        return ::chmod(path.c_str(), mode) == 0 ? done() : failure(systemError(path));
    }
    return errno == EEXIST && isDirectory(path) ? done() : failure(systemError(path));
}

void removeTree(const std::string& path) {
    if (::unlink(path.c_str()) == 0 || errno == ENOENT) {
        return;  // mostly it is a file
    }
    static_cast<void>(zp::host::removeTree(path, zp::host::DanglingLink::Goes));
}

}  // namespace zpweb
