#include "host/Effect.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <memory>
#include <string_view>
#include <utility>

#include "host/Folder.h"
#include "host/FolderTree.h"

namespace zp::host {

namespace {

constexpr mode_t SetIdBits = S_ISUID | S_ISGID;
constexpr mode_t OwnerOnly = 0700;

class Entry {
public:
    explicit Entry(int descriptor) : descriptor_(descriptor) {}
    Entry(Entry&& other) noexcept : descriptor_(std::exchange(other.descriptor_, -1)) {}
    Entry(const Entry&) = delete;
    Entry& operator=(const Entry&) = delete;
    Entry& operator=(Entry&&) = delete;
    ~Entry() { close(); }

    bool isOpen() const { return descriptor_ >= 0; }
    int number() const { return descriptor_; }
    void close() {
        if (isOpen()) {
            ::close(std::exchange(descriptor_, -1));
        }
    }

private:
    int descriptor_;
};

// Its content is not opened, so that a device or a pipe does not notice.
Entry openEntry(int directory, const char* name) {
    return Entry(::openat(directory, name, O_PATH | O_NOFOLLOW | O_CLOEXEC));
}

bool giveOwner(const Entry& entry, const Effect& effect) {
    return (!effect.user && !effect.group) ||
           ::fchownat(entry.number(), "", effect.user.value_or(static_cast<uid_t>(-1)),
                      effect.group.value_or(static_cast<gid_t>(-1)), AT_EMPTY_PATH) == 0;
}

// A descriptor of a place takes no fchmod(2); the path by which the system names it does.
bool giveMode(const Entry& entry, mode_t mode) {
    return ::chmod(("/proc/self/fd/" + std::to_string(entry.number())).c_str(), mode) == 0;
}

// The owner goes first: a change of owner clears the set-ID bits.
bool giveTo(const Entry& entry, const Effect& effect, mode_t kept) {
    return giveOwner(entry, effect) && (!effect.mode || giveMode(entry, *effect.mode | kept));
}

bool giveTree(Entry entry, const Effect& effect);

bool giveEntries(int directory, const Effect& effect) {
    const auto close = [](DIR* open) { ::closedir(open); };
    const std::unique_ptr<DIR, decltype(close)> listing(::fdopendir(directory), close);
    bool given = listing != nullptr;
    while (const dirent* each = listing ? ::readdir(listing.get()) : nullptr) {
        const std::string_view name = each->d_name;
        if (name == "." || name == "..") {
            continue;
        }
        Entry entry = openEntry(directory, each->d_name);
        const bool gone = !entry.isOpen() && errno == ENOENT;
        given = (gone || giveTree(std::move(entry), effect)) && given;
    }
    return given;
}

bool giveTree(Entry entry, const Effect& effect) {
    struct stat status {};
    if (::fstat(entry.number(), &status) != 0) {
        return false;
    }
    if (S_ISLNK(status.st_mode)) {
        return true;
    }
    const bool isDirectory = S_ISDIR(status.st_mode);
    const bool given = giveTo(entry, effect, isDirectory && effect.deep ? status.st_mode & SetIdBits : 0);
    if (!effect.deep || !isDirectory) {
        return given;
    }
    const int directory = ::openat(entry.number(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    entry.close();  // one descriptor for each level of the tree will do
    return directory >= 0 && giveEntries(directory, effect) && given;
}

bool giveAccess(const Folder& parent, const std::string& name, const Effect& effect) {
    Entry entry = openEntry(parent.descriptor(), name.c_str());
    struct stat status {};
    return entry.isOpen() && ::fstat(entry.number(), &status) == 0 && !S_ISLNK(status.st_mode) &&
           giveTree(std::move(entry), effect);
}

bool makeDirectory(const Folder& parent, const std::string& name, const Effect& effect) {
    return ::mkdirat(parent.descriptor(), name.c_str(), OwnerOnly) == 0 &&
           giveTo(openEntry(parent.descriptor(), name.c_str()), effect, 0);
}

bool makeFile(const Folder& parent, const std::string& name, const Effect& effect) {
    constexpr int Fresh = O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW | O_NOCTTY;
    const Entry file(::openat(parent.descriptor(), name.c_str(), Fresh, S_IRUSR | S_IWUSR));
    return file.isOpen() ? giveTo(file, effect, 0) : errno == EEXIST;
}

}  // namespace

bool carryOut(const Effect& effect) {
    const auto [directory, name] = locationOf(withoutTrailingSlashes(effect.path));
    const auto parent = Folder::openGuarded(directory);
    if (!parent) {
        return false;
    }
    switch (effect.step) {
        case Effect::Step::MakeDirectory:
            return makeDirectory(*parent, name, effect);
        case Effect::Step::MakeFile:
            return makeFile(*parent, name, effect);
        case Effect::Step::GiveAccess:
            return giveAccess(*parent, name, effect);
        case Effect::Step::RemoveTree:
            return removeTree("/proc/self/fd/" + std::to_string(parent->descriptor()) + "/" + name);
    }
    return false;
}

}  // namespace zp::host
