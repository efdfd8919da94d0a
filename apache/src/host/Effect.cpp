#include "host/Effect.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <set>

#include "host/FileSystem.h"
#include "host/HeldDirectory.h"
#include "host/HeldFile.h"
#include "host/Tree.h"

namespace zp::host {

namespace {

constexpr mode_t SetIdBits = S_ISUID | S_ISGID;

// A place is opened, not its content, so that a device or a pipe does not notice.
Descriptor openPlace(int directory, const char* name) {
    return Descriptor(::openat(directory, name, O_PATH | O_NOFOLLOW | O_CLOEXEC));
}

// What stands there may be another one's, or have come there since it was looked at.
bool isMeant(const struct stat& status, const Effect& effect, const HeldDirectory& parent) {
    const bool isThirds = parent.othersWrite() && !parent.mayOwn(status.st_uid);
    return (!effect.user || !isThirds || status.st_uid == *effect.user) &&
           (!effect.inode || status.st_ino == *effect.inode);
}

bool isFit(const struct stat& status, const Effect& effect, bool othersWrite) {
    const bool becomesSetId = (effect.mode.value_or(0) & SetIdBits) != 0;
    return S_ISDIR(status.st_mode) || !othersWrite || (status.st_nlink == 1 && !becomesSetId);
}

// The owner goes first: a change of owner clears the set-ID bits.
bool giveTo(const Descriptor& place, const Effect& effect, mode_t kept = 0) {
    const uid_t user = effect.user.value_or(static_cast<uid_t>(-1));
    const gid_t group = effect.group.value_or(static_cast<gid_t>(-1));
    const bool given =
        (!effect.user && !effect.group) || ::fchownat(place.number(), "", user, group, AT_EMPTY_PATH) == 0;
    // A descriptor of a place takes no fchmod(2); the path by which the system names it does.
    return given && (!effect.mode || ::chmod(pathOf(place.number()).c_str(), *effect.mode | kept) == 0);
}

// To what the place is, unless that is a link.
bool giveAccess(const Descriptor& place, const Effect& effect, bool othersWrite) {
    struct stat status {};
    if (!place.isOpen() || ::fstat(place.number(), &status) != 0) {
        return errno == ENOENT;  // it went meanwhile
    }
    if (S_ISLNK(status.st_mode)) {
        return true;
    }
    const mode_t kept = effect.deep && S_ISDIR(status.st_mode) ? status.st_mode & SetIdBits : 0;
    return isFit(status, effect, othersWrite) && giveTo(place, effect, kept);
}

// The administrator's alone: what stands in such a directory the administrator has placed there.
bool isAdministrators(const struct stat& directory) {
    return directory.st_uid == ::geteuid() && (directory.st_mode & (S_IWGRP | S_IWOTH)) == 0;
}

// Closed to others: where these can place it, they may have moved it there.
bool isClosed(const struct stat& status) {
    const mode_t open = S_ISDIR(status.st_mode) ? S_IROTH | S_IXOTH : S_IROTH;
    return (status.st_mode & open) != open && !S_ISLNK(status.st_mode);
}

// One of the administrator's that is closed: who opens it, or gives it away, opens what it holds, unless it
// is empty.
bool mayBeMoved(const HeldDirectory& parent, const struct stat& status, const Descriptor& directory) {
    return S_ISDIR(status.st_mode) ? mayBeMovedInto(parent, directory.number())
                                   : parent.othersWrite() && status.st_uid == ::geteuid() &&
                                         isClosed(status) && status.st_size > 0;
}

// A giving of a directory with all that it holds. One that is the administrator's alone is given behind its
// entries, so that nothing comes among them.
class Giving {
public:
    Giving(const Effect& effect, const struct stat& top) : effect_(effect) { noteOwn(top); }

    bool isOwn(const struct stat& directory) const { return own_.contains(directory.st_ino); }
    bool run(const Descriptor& directory) {
        const bool walked =
            walkTree(directory.number(),
                     {[this](int parent, const char* name) { return give(parent, name); },
                      [this](int parent, const char* name) { return giveBehind(parent, name); }});
        return walked && given_;
    }

private:
    void noteOwn(const struct stat& directory) {
        if (S_ISDIR(directory.st_mode) && isAdministrators(directory)) {
            own_.insert(directory.st_ino);
        }
    }
    bool give(int parent, const char* name) {
        const Descriptor place = openPlace(parent, name);
        struct stat above {};
        struct stat status {};
        const bool isLooked =
            place.isOpen() && ::fstat(place.number(), &status) == 0 && ::fstat(parent, &above) == 0;
        if (isLooked && isOwn(above)) {
            noteOwn(status);
        }
        if (isLooked && !isOwn(above) && isAnothers(above, status)) {
            given_ = false;
        } else if (!isLooked || !isOwn(status)) {
            given_ = giveAccess(place, effect_, true) && given_;
        }
        return true;
    }
    bool giveBehind(int parent, const char* name) {
        const Descriptor place = openPlace(parent, name);
        struct stat status {};
        if (place.isOpen() && ::fstat(place.number(), &status) == 0 && isOwn(status)) {
            given_ = giveAccess(place, effect_, true) && given_;
        }
        return true;
    }

    // Closed, or in a directory that is, and not that account's that all of it is given to.
    bool isAnothers(const struct stat& above, const struct stat& status) {
        const bool isIt =
            (isClosed(status) && status.st_uid != effect_.user) || closed_.contains(above.st_ino);
        if (isIt && S_ISDIR(status.st_mode)) {
            closed_.insert(status.st_ino);
        }
        return isIt;
    }

    const Effect& effect_;
    std::set<ino_t> own_, closed_;
    bool given_ = true;
};

bool giveTree(const HeldDirectory& parent, const std::string& name, const Effect& effect) {
    const Descriptor place = openPlace(parent.descriptor(), name.c_str());
    struct stat status {};
    if (!place.isOpen() || ::fstat(place.number(), &status) != 0 || S_ISLNK(status.st_mode) ||
        !isMeant(status, effect, parent)) {
        return false;
    }
    const Descriptor directory(::openat(place.number(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (mayBeMoved(parent, status, directory)) {
        return false;
    }
    if (!effect.deep || !S_ISDIR(status.st_mode)) {
        return giveAccess(place, effect, parent.othersWrite());
    }
    Giving giving(effect, status);
    const bool isLast = giving.isOwn(status);
    const bool before = isLast || giveAccess(place, effect, parent.othersWrite());
    const bool below = directory.isOpen() && giving.run(directory);
    return (!isLast || giveAccess(place, effect, parent.othersWrite())) && before && below;
}

bool makeDirectory(const HeldDirectory& parent, const std::string& name, const Effect& effect) {
    const Descriptor made = makeDirectoryIn(parent.descriptor(), name);
    return made.isOpen() && giveTo(made, effect);
}

bool provideDirectory(const HeldDirectory& parent, const std::string& name, const Effect& effect) {
    if (makeDirectory(parent, name, effect)) {
        return true;
    }
    const Descriptor directory(
        ::openat(parent.descriptor(), name.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    struct stat status {};
    return directory.isOpen() && ::fstat(directory.number(), &status) == 0 &&
           isMeant(status, effect, parent) && !mayBeMovedInto(parent, directory.number()) &&
           giveTo(directory, effect);
}

bool makeFile(const HeldDirectory& parent, const std::string& name, const Effect& effect) {
    constexpr int Fresh = O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW | O_NOCTTY;
    const Descriptor file(::openat(parent.descriptor(), name.c_str(), Fresh, S_IRUSR | S_IWUSR));
    struct stat status {};
    return file.isOpen()
               ? giveTo(file, effect)
               : ::fstatat(parent.descriptor(), name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0 &&
                     S_ISREG(status.st_mode);
}

bool giveDirectory(const HeldDirectory& parent, const Effect& effect) {
    auto directory = HeldDirectory::hold(effect.path);
    struct stat status {};
    return directory && ::fstat(directory->descriptor(), &status) == 0 &&
           (!effect.inode || status.st_ino == *effect.inode) &&
           !mayBeMovedInto(parent, directory->descriptor()) && giveTo(directory->release(), effect);
}

}  // namespace

bool carryOut(const Effect& effect) {
    const std::string path = withoutTrailingSlashes(effect.path);
    const auto [directory, name] = locationOf(path);
    const auto parent = HeldDirectory::hold(directory);
    if (!parent) {
        return false;
    }
    switch (effect.step) {
        case Effect::Step::MakeDirectory:
            return makeDirectory(*parent, name, effect);
        case Effect::Step::ProvideDirectory:
            return provideDirectory(*parent, name, effect);
        case Effect::Step::MakeFile:
            return makeFile(*parent, name, effect);
        case Effect::Step::GiveDirectory:
            return giveDirectory(*parent, effect);
        case Effect::Step::GiveAccess:
            return giveTree(*parent, name, effect);
        case Effect::Step::RemoveTree:
            return removeTree(path, DanglingLink::Goes, effect.inode);
    }
    return false;
}

}  // namespace zp::host
