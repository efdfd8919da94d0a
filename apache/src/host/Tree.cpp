#include "host/Tree.h"

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "host/FileSystem.h"
#include "host/HeldDirectory.h"

namespace zp::host {

namespace {

constexpr int OpenDirectory = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;

// A directory that the walk is in: which one it is, its name, and those in it that are still to be entered.
struct Level {
    dev_t device;
    ino_t number;
    uint64_t mount;
    std::string name;
    std::vector<std::string> below;
};

bool isSame(int directory, const Level& level) {
    struct stat status {};
    return ::fstat(directory, &status) == 0 && status.st_dev == level.device &&
           status.st_ino == level.number;
}

// An entry itself, where it is a link, too. An old kernel tells of no mount: there all is one. That of a
// device would not do, as file systems have several.
struct Entry {
    bool isDirectory = false;
    uint64_t mount = 0;
};

std::optional<Entry> entryAt(int directory, const char* name) {
    struct statx status {};
    constexpr int Itself = AT_SYMLINK_NOFOLLOW | AT_EMPTY_PATH | AT_NO_AUTOMOUNT;
    if (::statx(directory, name, Itself, STATX_TYPE | STATX_MNT_ID, &status) != 0) {
        return std::nullopt;
    }
    return Entry{S_ISDIR(status.stx_mode), status.stx_mnt_id};
}

bool isDirectoryItself(int parent, const char* name) {
    struct stat status {};
    return ::fstatat(parent, name, &status, AT_SYMLINK_NOFOLLOW) == 0 && S_ISDIR(status.st_mode);
}

// Takes the step at each entry, and notes the directories among them.
bool visitEntries(int directory, const TreeSteps& steps, Level& level) {
    DIR* listing = ::fdopendir(::openat(directory, ".", OpenDirectory));
    if (listing == nullptr) {
        return false;
    }
    bool visited = true;
    errno = 0;
    while (const dirent* entry = visited ? ::readdir(listing) : nullptr) {
        const std::string_view name = entry->d_name;
        if (name == "." || name == "..") {
            continue;
        }
        const auto found = entryAt(directory, entry->d_name);
        const bool isUnknown = !found && errno != ENOENT;
        const bool isElsewhere = found ? found->mount != level.mount : isShutOut(errno);
        if (!isElsewhere) {
            visited = steps.entry(directory, entry->d_name) && !isUnknown;
            if (visited && found && found->isDirectory) {
                level.below.emplace_back(name);
            }
        }
        errno = 0;
    }
    const bool whole = visited && errno == 0;
    ::closedir(listing);
    return whole;
}

class Walk {
public:
    Walk(int directory, const TreeSteps& steps)
        : steps_(steps), here_(::openat(directory, ".", OpenDirectory)) {}

    bool run() {
        bool going = arrive("");
        while (going && (levels_.size() > 1 || !levels_.back().below.empty())) {
            going = levels_.back().below.empty() ? leave() : descend();
        }
        return going;
    }

private:
    bool arrive(const std::string& name) {
        struct stat status {};
        const auto itself = here_.isOpen() ? entryAt(here_.number(), "") : std::nullopt;
        if (!itself || ::fstat(here_.number(), &status) != 0) {
            return false;
        }
        levels_.push_back({status.st_dev, status.st_ino, itself->mount, name, {}});
        return visitEntries(here_.number(), steps_, levels_.back());
    }

    bool descend() {
        const std::string name = std::move(levels_.back().below.back());
        levels_.back().below.pop_back();
        Descriptor next(::openat(here_.number(), name.c_str(), OpenDirectory));
        if (!next.isOpen() && errno == ENOENT) {
            return true;  // it went meanwhile
        }
        here_ = std::move(next);
        return arrive(name);
    }

    bool leave() {
        const std::string name = std::move(levels_.back().name);
        levels_.pop_back();
        here_ = Descriptor(::openat(here_.number(), "..", OpenDirectory));
        return here_.isOpen() && isSame(here_.number(), levels_.back()) &&
               steps_.behind(here_.number(), name.c_str());
    }

    const TreeSteps& steps_;
    Descriptor here_;
    std::vector<Level> levels_;
};

bool removeEntry(int directory, const char* name) {
    if (!isDirectoryItself(directory, name)) {
        static_cast<void>(::unlinkat(directory, name, 0));
    }
    return true;
}

bool removeWhatIsThere(int directory, const char* name) {
    struct stat behind {};
    return ::fstatat(directory, name, &behind, 0) == 0 && removeEntry(directory, name);
}

// Nobody else makes anything in it any more, also who has it open: what is removed could grow as fast.
bool closeToOthers(int directory) {
    return ::fchown(directory, ::geteuid(), static_cast<gid_t>(-1)) == 0 &&
           ::fchmod(directory, S_IRWXU) == 0;
}

// In a directory that is closed to others, so that the name stays that of what was looked at.
bool removeOrClose(int directory, const char* name) {
    if (!isDirectoryItself(directory, name)) {
        return removeEntry(directory, name);
    }
    const Descriptor below(::openat(directory, name, OpenDirectory));
    static_cast<void>(below.isOpen() && closeToOthers(below.number()));
    return true;
}

bool removeDirectory(int parent, const char* name) { return ::unlinkat(parent, name, AT_REMOVEDIR) == 0; }

}  // namespace

bool walkTree(int directory, const TreeSteps& steps) { return Walk(directory, steps).run(); }

bool removeTree(const std::string& path, DanglingLink dangling, std::optional<ino_t> inode) {
    const auto [place, name] = locationOf(withoutTrailingSlashes(path));
    const auto parent = HeldDirectory::hold(place);
    struct stat behind {};
    if (!parent || ::fstatat(parent->descriptor(), name.c_str(), &behind, 0) != 0 ||
        !S_ISDIR(behind.st_mode)) {
        return false;
    }
    if (!isDirectoryItself(parent->descriptor(), name.c_str())) {
        return ::unlinkat(parent->descriptor(), name.c_str(), 0) == 0;
    }
    const Descriptor directory(::openat(parent->descriptor(), name.c_str(), OpenDirectory));
    const bool all = dangling == DanglingLink::Goes;
    struct stat status {};
    if (!directory.isOpen() || ::fstat(directory.number(), &status) != 0 ||
        (inode && status.st_ino != *inode)) {
        return false;
    }
    static_cast<void>(all && closeToOthers(directory.number()));
    return walkTree(directory.number(), {all ? removeOrClose : removeWhatIsThere, removeDirectory}) &&
           removeDirectory(parent->descriptor(), name.c_str());
}

}  // namespace zp::host
