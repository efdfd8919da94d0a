#include "host/FileSystem.h"

#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "host/Machine.h"

namespace zp::host {

namespace {

constexpr mode_t ModeBits = 07777;

bool look(const std::string& path, struct stat& status) {
    const bool seen = ::stat(path.c_str(), &status) == 0;
    if (!seen) {
        noteFault(path);
    }
    return seen;
}

}  // namespace

Location locationOf(const std::string& path) {
    const size_t slash = path.rfind('/');
    if (slash == std::string::npos) {
        return {".", path};
    }
    return {path.substr(0, slash == 0 ? 1 : slash), path.substr(slash + 1)};
}

std::string withoutTrailingSlashes(std::string path) {
    while (path.size() > 1 && (path.ends_with('/') || path.ends_with("/."))) {
        path.pop_back();
    }
    return path;
}

bool exists(const std::string& path) {
    const bool found = ::access(path.c_str(), F_OK) == 0;
    if (!found) {
        noteFault(path);
    }
    return found;
}

bool isDirectory(const std::string& path) { return S_ISDIR(modeAndTypeOf(path)); }

std::optional<off_t> sizeOfFile(const std::string& path) {
    struct stat status {};
    if (!look(path, status) || !S_ISREG(status.st_mode)) {
        return std::nullopt;
    }
    return status.st_size;
}

std::optional<mode_t> modeOf(const std::string& path) {
    struct stat status {};
    return look(path, status) ? std::optional(status.st_mode & ModeBits) : std::nullopt;
}

mode_t modeAndTypeOf(const std::string& path) {
    struct stat status {};
    return look(path, status) ? status.st_mode : 0;
}

void removeFile(const std::string& path) {
    if (::unlink(path.c_str()) != 0 && errno != ENOENT) {
        static_cast<void>(::unlink(path.c_str()));  // what fails for a moment leaves nothing behind
    }
}

std::vector<std::string> filesIn(const std::string& directory) {
    std::vector<std::string> files;
    DIR* listing = ::opendir(directory.c_str());
    if (listing == nullptr) {
        noteFault(directory);
        return files;
    }
    for (errno = 0;; errno = 0) {
        const dirent* entry = ::readdir(listing);
        if (entry == nullptr) {
            break;
        }
        if (!isDirectory(directory + "/" + entry->d_name)) {  // "." and ".." are directories, too
            files.emplace_back(entry->d_name);
        }
    }
    if (errno != 0) {
        noteFault(directory);
    }
    ::closedir(listing);
    return files;
}

std::string enterFirstOf(std::span<const char* const> directories) {
    for (const char* directory : directories) {
        if (::chdir(directory) == 0) {
            return directory;
        }
    }
    return {};
}

}  // namespace zp::host
