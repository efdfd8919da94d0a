#include "sys/Attributes.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/xattr.h>

#include <cerrno>
#include <optional>
#include <vector>

#include "sys/File.h"

namespace zpweb {

namespace {

bool hasNone(int error) { return error == ENOTSUP || error == ENODATA; }

// Absent when they cannot be listed.
std::optional<std::vector<std::string>> attributeNames(int file) {
    std::vector<char> names(65536);
    const ssize_t size = ::flistxattr(file, names.data(), names.size());
    std::vector<std::string> found;
    if (size < 0 && !hasNone(errno)) {
        return std::nullopt;
    }
    for (ssize_t at = 0; at < size;) {
        found.emplace_back(names.data() + at);
        at += static_cast<ssize_t>(found.back().size()) + 1;
    }
    return found;
}

bool copyAttribute(int from, int to, const std::string& name) {
    std::vector<char> value(65536);
    const ssize_t size = ::fgetxattr(from, name.c_str(), value.data(), value.size());
    return size < 0 ? hasNone(errno)
                    : ::fsetxattr(to, name.c_str(), value.data(), static_cast<size_t>(size), 0) == 0;
}

}  // namespace

Outcome takeOverAttributes(const Descriptor& from, const Descriptor& to, const std::string& path,
                           ModeBits bits) {
    struct stat old {};
    struct stat fresh {};
    if (::fstat(from.number(), &old) != 0 || ::fstat(to.number(), &fresh) != 0) {
        return failure(systemError(path));
    }
    const mode_t mode = old.st_mode & (bits == ModeBits::All ? 07777 : 01777);
    // The owner goes first: a change of owner clears the set-ID bits.
    const bool sameOwner = old.st_uid == fresh.st_uid && old.st_gid == fresh.st_gid;
    if ((!sameOwner && ::fchown(to.number(), old.st_uid, old.st_gid) != 0) ||
        ::fchmod(to.number(), mode) != 0) {
        return failure("cannot keep owner and mode of " + systemError(path));
    }
    const auto names = attributeNames(from.number());
    if (!names) {
        return failure("cannot read the attributes of " + systemError(path));
    }
    for (const std::string& name : *names) {
        // What the kernel's security modules label is theirs to set.
        if (!copyAttribute(from.number(), to.number(), name) && !name.starts_with("security.")) {
            return failure("cannot keep the attribute " + name + " of " + systemError(path));
        }
    }
    return done();
}

Outcome takeOverAttributes(const std::string& from, const Descriptor& to) {
    const Descriptor source(::open(from.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK));
    return source.isOpen() ? takeOverAttributes(source, to, from, ModeBits::WithoutSetId)
                           : failure(systemError(from));
}

}  // namespace zpweb
