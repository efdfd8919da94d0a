#include "host/Folder.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <utility>

namespace zp::host {

namespace {

constexpr int OpenFolder = O_RDONLY | O_DIRECTORY | O_CLOEXEC;
constexpr mode_t ModeBits = 07777;
constexpr int MostLinks = 40;  // on one way; the system's own limit

bool onlyAdministratorWrites(int folder) {
    struct stat status {};
    return ::fstat(folder, &status) == 0 && (status.st_uid == 0 || status.st_uid == ::geteuid()) &&
           (status.st_mode & (S_IWGRP | S_IWOTH)) == 0;
}

std::string takeFirstName(std::string& path) {
    std::string name = path.substr(0, path.find('/'));
    path.erase(0, name.size() + 1);
    return name;
}

}  // namespace

std::optional<Folder> Folder::open(const std::string& path) {
    const int descriptor = ::open(path.c_str(), OpenFolder);
    if (descriptor < 0) {
        return std::nullopt;
    }
    return Folder(descriptor);
}

std::optional<Folder> Folder::openGuarded(const std::string& path) {
    if (path.empty()) {
        return std::nullopt;
    }
    auto folder = open(path.starts_with('/') ? "/" : ".");
    int links = 0;
    for (std::string rest = path; folder && !rest.empty();) {
        const std::string name = takeFirstName(rest);
        if (name.empty()) {
            continue;
        }
        if (auto next = folder->enter(name)) {
            folder = std::move(next);
            continue;
        }
        const auto target = folder->administratorsLink(name);
        if (!target || ++links > MostLinks) {
            return std::nullopt;
        }
        rest = *target + "/" + rest;
        if (target->starts_with('/')) {
            folder = open("/");
        }
    }
    return folder;
}

Folder::Folder(Folder&& other) noexcept : descriptor_(std::exchange(other.descriptor_, -1)) {}

Folder& Folder::operator=(Folder&& other) noexcept {
    std::swap(descriptor_, other.descriptor_);
    return *this;
}

Folder::~Folder() {
    if (descriptor_ >= 0) {
        ::close(descriptor_);
    }
}

std::optional<Folder> Folder::make(const std::string& name, mode_t mode) const {
    return ::mkdirat(descriptor_, name.c_str(), mode) == 0 ? enter(name) : std::nullopt;
}

std::optional<Folder> Folder::makeOrEnter(const std::string& name, mode_t mode) const {
    const bool there = ::mkdirat(descriptor_, name.c_str(), mode) == 0 || errno == EEXIST;
    return there ? enter(name) : std::nullopt;
}

std::optional<Folder> Folder::enter(const std::string& name) const {
    const int descriptor = ::openat(descriptor_, name.c_str(), OpenFolder | O_NOFOLLOW);
    if (descriptor < 0) {
        return std::nullopt;
    }
    return Folder(descriptor);
}

std::optional<std::string> Folder::administratorsLink(const std::string& name) const {
    char target[PATH_MAX];
    const ssize_t length = ::readlinkat(descriptor_, name.c_str(), target, sizeof target);
    if (length <= 0 || !onlyAdministratorWrites(descriptor_)) {
        return std::nullopt;
    }
    return std::string(target, static_cast<size_t>(length));
}

void Folder::setMode(mode_t mode) const { static_cast<void>(::fchmod(descriptor_, mode)); }

void Folder::setOwner(const Account& account) const {
    static_cast<void>(!::fchown(descriptor_, account.user, account.group));
}

Location locationOf(const std::string& path) {
    const size_t slash = path.rfind('/');
    if (slash == std::string::npos) {
        return {".", path};
    }
    return {path.substr(0, slash == 0 ? 1 : slash), path.substr(slash + 1)};
}

std::vector<std::string> filesIn(const std::string& folder) {
    std::vector<std::string> files;
    DIR* listing = ::opendir(folder.c_str());
    if (listing == nullptr) {
        return files;
    }
    for (const dirent* entry = ::readdir(listing); entry != nullptr; entry = ::readdir(listing)) {
        if (!isFolder(folder + "/" + entry->d_name)) {  // "." and ".." are folders, too
            files.emplace_back(entry->d_name);
        }
    }
    ::closedir(listing);
    return files;
}

bool enterFolder(const std::string& path) { return ::chdir(path.c_str()) == 0; }

std::string enterFirstOf(std::span<const char* const> folders) {
    for (const char* folder : folders) {
        if (enterFolder(folder)) {
            return folder;
        }
    }
    return {};
}

std::optional<mode_t> modeOf(const std::string& path) {
    struct stat status {};
    if (::stat(path.c_str(), &status) != 0) {
        return std::nullopt;
    }
    return status.st_mode & ModeBits;
}

std::string withoutTrailingSlashes(std::string path) {
    while (path.size() > 1 && (path.ends_with('/') || path.ends_with("/."))) {
        path.pop_back();
    }
    return path;
}

bool isFolder(const std::string& path) {
    struct stat status {};
    return ::stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

bool isLink(const std::string& path) {
    struct stat status {};
    return ::lstat(withoutTrailingSlashes(path).c_str(), &status) == 0 && S_ISLNK(status.st_mode);
}

bool exists(const std::string& path) { return ::access(path.c_str(), F_OK) == 0; }

}  // namespace zp::host
