#include "host/Access.h"

#include <linux/limits.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <cerrno>
#include <string>
#include <string_view>

namespace zp::host {

namespace {

constexpr mode_t ModeBits = 07777;

// The system's own answer where there is nothing to take over, or no way to do it for this process.
bool isNoAttribute(int error) {
    return error == ENOTSUP || error == EPERM || error == ENODATA || error == EACCES;
}

bool takeOverAttribute(int from, int to, const char* name) {
    std::string value(XATTR_SIZE_MAX, '\0');
    const ssize_t size = ::fgetxattr(from, name, value.data(), value.size());
    return size < 0 ? isNoAttribute(errno)
                    : ::fsetxattr(to, name, value.data(), static_cast<size_t>(size), 0) == 0 ||
                          isNoAttribute(errno);
}

bool takeOverAttributes(int from, int to) {
    const ssize_t size = ::flistxattr(from, nullptr, 0);
    if (size <= 0) {
        return size == 0 || isNoAttribute(errno);
    }
    std::string names(static_cast<size_t>(size), '\0');
    const ssize_t listed = ::flistxattr(from, names.data(), names.size());
    if (listed < 0) {
        return false;
    }
    names.resize(static_cast<size_t>(listed));
    for (size_t at = 0; at < names.size(); at += std::string_view(names.c_str() + at).size() + 1) {
        if (!takeOverAttribute(from, to, names.c_str() + at)) {
            return false;
        }
    }
    return true;
}

}  // namespace

bool takeOverAccess(int from, int to) {
    struct stat status {};
    if (::fstat(from, &status) != 0) {
        return false;
    }
    // The owner goes first: a change of owner clears the set-ID bits and a program's capabilities.
    return (::fchown(to, status.st_uid, status.st_gid) == 0 || errno == EPERM) &&
           takeOverAttributes(from, to) && ::fchmod(to, status.st_mode & ModeBits) == 0;
}

}  // namespace zp::host
