#include "host/Tree.h"

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
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
    std::string name;
    std::vector<std::string> below;
};

bool isSame(int directory, const Level& level) {
    struct stat status {};
    return ::fstat(directory, &status) == 0 && status.st_dev == level.device &&
           status.st_ino == level.number;
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
        visited = steps.entry(directory, entry->d_name);
        if (visited && isDirectoryItself(directory, entry->d_name)) {
            level.below.emplace_back(name);
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
        if (!here_.isOpen() || ::fstat(here_.number(), &status) != 0) {
            return false;
        }
        levels_.push_back({status.st_dev, status.st_ino, name, {}});
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
    struct stat behind {};
    if (::fstatat(directory, name, &behind, 0) != 0) {
        return false;
    }
    if (!isDirectoryItself(directory, name)) {
        static_cast<void>(::unlinkat(directory, name, 0));
    }
    return true;
}

bool removeDirectory(int parent, const char* name) { return ::unlinkat(parent, name, AT_REMOVEDIR) == 0; }

}  // namespace

bool walkTree(int directory, const TreeSteps& steps) { return Walk(directory, steps).run(); }

bool removeTree(const std::string& path) {
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
    return directory.isOpen() && walkTree(directory.number(), {removeEntry, removeDirectory}) &&
           removeDirectory(parent->descriptor(), name.c_str());
}

}  // namespace zp::host
