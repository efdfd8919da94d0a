#include "Calls.h"

#include <fcntl.h>
#include <sys/ptrace.h>
#include <sys/syscall.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <filesystem>

namespace zp::faults {

namespace {

constexpr Call Calls[] = {
    {SYS_open, "open", -1, 0, -1, 1, false, true},
    {SYS_openat, "openat", 0, 1, -1, 2, false, true},
    {SYS_openat2, "openat2", 0, 1, -1, -1, false, true},
    {SYS_creat, "creat", -1, 0, -1, -1, true, true},
    {SYS_read, "read", 0, -1, -1, -1, false, true},
    {SYS_pread64, "pread", 0, -1, -1, -1, false, true},
    {SYS_write, "write", 0, -1, 2, -1, true, true},
    {SYS_writev, "writev", 0, -1, -1, -1, true, true},
    {SYS_pwrite64, "pwrite", 0, -1, 3, -1, true, true},
    {SYS_copy_file_range, "copy_file_range", 2, -1, 4, -1, true, true},
    {SYS_sendfile, "sendfile", 0, -1, 3, -1, true, true},
    {SYS_fallocate, "fallocate", 0, -1, -1, -1, true, true},
    {SYS_fsync, "fsync", 0, -1, -1, -1, true, true},
    {SYS_fdatasync, "fdatasync", 0, -1, -1, -1, true, true},
    {SYS_ftruncate, "ftruncate", 0, -1, -1, -1, false, true},
    {SYS_truncate, "truncate", -1, 0, -1, -1, false, true},
    {SYS_rename, "rename", -1, 0, -1, -1, false, false},
    {SYS_renameat, "renameat", 0, 1, -1, -1, false, false},
    {SYS_renameat2, "renameat2", 0, 1, -1, -1, false, false},
    {SYS_link, "link", -1, 1, -1, -1, true, false},
    {SYS_linkat, "linkat", 2, 3, -1, -1, true, false},
    {SYS_symlink, "symlink", -1, 1, -1, -1, true, false},
    {SYS_symlinkat, "symlinkat", 1, 2, -1, -1, true, false},
    {SYS_unlink, "unlink", -1, 0, -1, -1, false, false},
    {SYS_unlinkat, "unlinkat", 0, 1, -1, -1, false, false},
    {SYS_rmdir, "rmdir", -1, 0, -1, -1, false, false},
    {SYS_mkdir, "mkdir", -1, 0, -1, -1, true, false},
    {SYS_mkdirat, "mkdirat", 0, 1, -1, -1, true, false},
    {SYS_chmod, "chmod", -1, 0, -1, -1, false, false},
    {SYS_fchmod, "fchmod", 0, -1, -1, -1, false, false},
    {SYS_fchmodat, "fchmodat", 0, 1, -1, -1, false, false},
    {SYS_chown, "chown", -1, 0, -1, -1, false, false},
    {SYS_lchown, "lchown", -1, 0, -1, -1, false, false},
    {SYS_fchown, "fchown", 0, -1, -1, -1, false, false},
    {SYS_fchownat, "fchownat", 0, 1, -1, -1, false, false},
    {SYS_stat, "stat", -1, 0, -1, -1, false, false},
    {SYS_lstat, "lstat", -1, 0, -1, -1, false, false},
    {SYS_fstat, "fstat", 0, -1, -1, -1, false, false},
    {SYS_newfstatat, "fstatat", 0, 1, -1, -1, false, false},
    {SYS_statx, "statx", 0, 1, -1, -1, false, false},
    {SYS_access, "access", -1, 0, -1, -1, false, false},
    {SYS_getdents64, "getdents", 0, -1, -1, -1, false, false},
    {SYS_fsetxattr, "fsetxattr", 0, -1, -1, -1, true, false},
    {SYS_fgetxattr, "fgetxattr", 0, -1, -1, -1, false, false},
    {SYS_flistxattr, "flistxattr", 0, -1, -1, -1, false, false},
    {SYS_flock, "flock", 0, -1, -1, -1, false, true},
};

std::string textAt(pid_t process, unsigned long long address) {
    std::string text;
    for (;;) {
        errno = 0;
        const long word = ::ptrace(PTRACE_PEEKDATA, process, address + text.size(), nullptr);
        if (errno != 0) {
            return text;
        }
        const char* bytes = reinterpret_cast<const char*>(&word);
        const auto length = std::find(bytes, bytes + sizeof word, '\0') - bytes;
        text.append(bytes, static_cast<size_t>(length));
        if (length < static_cast<long>(sizeof word)) {
            return text;
        }
    }
}

std::string linkTarget(const std::string& link) {
    std::error_code none;
    const std::string target = std::filesystem::read_symlink(link, none).string();
    return target.starts_with('/') ? target : "";
}

std::string descriptorOf(pid_t process, unsigned long long number) {
    const std::string links = "/proc/" + std::to_string(process);
    return linkTarget(static_cast<int>(number) == AT_FDCWD ? links + "/cwd"
                                                           : links + "/fd/" + std::to_string(number));
}

// How a program names an entry of a directory that it holds open.
constexpr std::string_view OpenFiles = "/proc/self/fd/";

// Of "NUMBER" or "NUMBER/ENTRY".
std::string throughDescriptor(pid_t process, const std::string& words) {
    unsigned number = 0;
    const char* const last = words.data() + words.size();
    const char* const end = std::from_chars(words.data(), last, number).ptr;
    const std::string directory = descriptorOf(process, number);
    return directory.empty() ? "" : directory + std::string(end, last);
}

}  // namespace

std::span<const Call> calls() { return Calls; }

std::string fileOf(pid_t process, const Call& call, Arguments arguments) {
    std::string path = call.path < 0 ? "" : textAt(process, arguments[static_cast<size_t>(call.path)]);
    if (path.starts_with(OpenFiles)) {
        return throughDescriptor(process, path.substr(OpenFiles.size()));
    }
    if (path.starts_with('/')) {
        return path;
    }
    constexpr unsigned Streams = 3;  // those that a program begins with are its caller's
    if (call.path < 0 && arguments[static_cast<size_t>(call.descriptor)] < Streams) {
        return "";
    }
    const std::string directory =
        descriptorOf(process, call.descriptor < 0 ? static_cast<unsigned>(AT_FDCWD)
                                                  : arguments[static_cast<size_t>(call.descriptor)]);
    return path.empty() || directory.empty() ? directory : (directory == "/" ? "" : directory) + "/" + path;
}

}  // namespace zp::faults
