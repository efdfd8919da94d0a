#include "sys/GuardedFolder.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

#include <array>
#include <cerrno>
#include <climits>
#include <memory>

#include "sys/File.h"

namespace zpweb {

namespace {

constexpr int OpenFolder = O_RDONLY | O_DIRECTORY | O_CLOEXEC;
constexpr int MostLinks = 40;  // on one way; the system's own limit
constexpr mode_t SetIdBits = S_ISUID | S_ISGID;

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

std::string linkTarget(int folder, const std::string& name) {
    std::array<char, PATH_MAX> target{};
    const ssize_t length = ::readlinkat(folder, name.c_str(), target.data(), target.size() - 1);
    return length > 0 ? target.data() : "";
}

// One whose content is not opened, so that a device or a pipe does not notice.
Descriptor openEntry(int folder, const std::string& name) {
    return Descriptor(::openat(folder, name.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC));
}

bool change(const Descriptor& entry, const struct stat& status, const Access& access) {
    const bool owned = (!access.user && !access.group) ||
                       ::fchownat(entry.number(), "", access.user.value_or(static_cast<uid_t>(-1)),
                                  access.group.value_or(static_cast<gid_t>(-1)), AT_EMPTY_PATH) == 0;
    if (!owned || !access.mode) {
        return owned;
    }
    const mode_t kept = S_ISDIR(status.st_mode) ? status.st_mode & SetIdBits : 0;
    return ::chmod(pathIn(entry, "").c_str(), *access.mode | kept) == 0;
}

bool changeTree(Descriptor entry, const Access& access, bool deep);

bool changeEntries(int folder, const Access& access) {
    const auto close = [](DIR* open) { ::closedir(open); };
    const std::unique_ptr<DIR, decltype(close)> listing(::fdopendir(folder), close);
    bool changed = listing != nullptr;
    while (const dirent* each = listing ? ::readdir(listing.get()) : nullptr) {
        const std::string name = each->d_name;
        if (name == "." || name == "..") {
            continue;
        }
        Descriptor entry = openEntry(folder, name);
        const bool gone = !entry.isOpen() && errno == ENOENT;
        changed = (gone || changeTree(std::move(entry), access, true)) && changed;
    }
    return changed;
}

bool changeTree(Descriptor entry, const Access& access, bool deep) {
    struct stat status {};
    if (::fstat(entry.number(), &status) != 0) {
        return false;
    }
    if (S_ISLNK(status.st_mode)) {
        return true;
    }
    const bool changed = change(entry, status, access);
    if (!deep || !S_ISDIR(status.st_mode)) {
        return changed;
    }
    const int folder = ::openat(entry.number(), ".", OpenFolder);
    entry.close();  // one descriptor for each level of the tree will do
    return folder >= 0 && changeEntries(folder, access) && changed;
}

}  // namespace

Expected<Descriptor> openGuarded(const std::string& path) {
    Descriptor folder(::open(path.starts_with('/') ? "/" : ".", OpenFolder));
    int links = 0;
    for (std::string rest = path; folder.isOpen() && !rest.empty();) {
        const std::string name = takeFirstName(rest);
        if (name.empty()) {
            continue;
        }
        Descriptor next(::openat(folder.number(), name.c_str(), OpenFolder | O_NOFOLLOW));
        if (next.isOpen()) {
            folder = std::move(next);
            continue;
        }
        const Outcome missing =
            failure(errno == ENOENT ? Status::NotFound : Status::Error, systemError(path));
        const std::string target = linkTarget(folder.number(), name);
        if (target.empty()) {
            return missing;
        }
        if (!onlyAdministratorWrites(folder.number()) || ++links > MostLinks) {
            return failure(path + ": reached through a symbolic link (" + name +
                           ") that others than root can place; it is not followed");
        }
        rest = target + "/" + rest;
        if (target.starts_with('/')) {
            folder = Descriptor(::open("/", OpenFolder));
        }
    }
    return folder.isOpen() ? Expected(std::move(folder)) : Expected<Descriptor>(failure(systemError(path)));
}

Outcome reachedWithoutForeignLink(const std::string& path) {
    const Outcome opened = openGuarded(path).outcome();
    return opened.status == Status::NotFound ? done() : opened;
}

std::string pathIn(const Descriptor& folder, const std::string& name) {
    return "/proc/self/fd/" + std::to_string(folder.number()) + (name.empty() ? "" : "/" + name);
}

Outcome giveAccess(const std::string& path, const Access& access, bool deep) {
    const auto folder = openGuarded(folderOf(path));
    if (!folder.ok()) {
        return folder.outcome();
    }
    Descriptor entry = openEntry(folder->number(), nameOf(path));
    if (!entry.isOpen()) {
        return failure(systemError(path));
    }
    struct stat status {};
    if (::fstat(entry.number(), &status) == 0 && S_ISLNK(status.st_mode)) {
        return failure(path + ": a symbolic link; it is not followed");
    }
    return changeTree(std::move(entry), access, deep) ? done()
                                                      : failure(path + ": not all of it could be changed");
}

}  // namespace zpweb
