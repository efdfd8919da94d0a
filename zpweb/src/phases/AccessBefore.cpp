#include "phases/AccessBefore.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <optional>
#include <set>
#include <sstream>

#include "host/Tree.h"
#include "sys/File.h"
#include "sys/GuardedDirectory.h"
#include "sys/Printable.h"

namespace zpweb {

namespace {

// Of what an owner can make in any number, with the longest of ways. It is kept in memory and on root's
// disk.
constexpr size_t MostNoted = 64UL << 20;

std::string fileIn(const std::string& checkpoint) { return checkpoint + "/access"; }

// "INODE USER GROUP MODE PATH" and a NUL, for a path may hold any other byte. What stands below has a name
// instead; its directory comes before it, once: an owner's way there can be as long as there are many
// files.
void note(std::string& text, int directory, const char* name, const std::string& path) {
    struct stat status {};
    if (::fstatat(directory, name, &status, AT_SYMLINK_NOFOLLOW) == 0 && !S_ISLNK(status.st_mode)) {
        text += std::to_string(status.st_ino) + " " + std::to_string(status.st_uid) + " " +
                std::to_string(status.st_gid) + " " + std::to_string(status.st_mode & 07777) + " " + path;
        text += '\0';
    }
}

Outcome noteTree(std::string& text, const std::string& path) {
    const auto parent = openGuarded(directoryOf(path));
    if (!parent.ok()) {
        return parent.outcome();
    }
    note(text, parent->number(), nameOf(path).c_str(), path);
    const auto directory = openGuarded(path);
    if (!directory.ok()) {
        return directory.outcome();
    }
    std::string last;
    const auto noteEntry = [&](int above, const char* name) {
        const auto where = linkTarget("/proc/self/fd/" + std::to_string(above));
        if (where && *where != last) {
            text += *where + '\0';
            last = *where;
        }
        if (where) {
            note(text, above, name, name);
        }
        return where.has_value() && text.size() < MostNoted;
    };
    const bool walked =
        zp::host::walkTree(directory->number(), {noteEntry, [](int, const char*) { return true; }});
    return walked                     ? done()
           : text.size() >= MostNoted ? failure(path + ": it holds too much to be noted")
                                      : failure(path + ": not all of it could be read");
}

struct Access {
    ino_t inode = 0;
    uid_t user = 0;
    gid_t group = 0;
    mode_t mode = 0;
    std::string path{};
};

Access accessIn(const std::string& entry) {
    Access access;
    std::istringstream words(entry);
    words >> access.inode >> access.user >> access.group >> access.mode;
    words.ignore(1);
    std::getline(words, access.path, '\0');
    return access;
}

using Users = std::set<std::optional<uid_t>>;

// False when it is no longer the same file, or of those that it was given to, or cannot be given. One that
// is gone, or as it was, is done.
bool giveBack(const Descriptor& directory, const std::string& name, const Access& access,
              const Users& given) {
    const Descriptor place(::openat(directory.number(), name.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC));
    struct stat now {};
    if (!place.isOpen() && errno == ENOENT) {
        return true;
    }
    if (!place.isOpen() || ::fstat(place.number(), &now) != 0 || now.st_ino != access.inode ||
        (!S_ISDIR(now.st_mode) && (now.st_nlink > 1 || (access.mode & (S_ISUID | S_ISGID)) != 0))) {
        return false;
    }
    if (now.st_uid == access.user && now.st_gid == access.group && (now.st_mode & 07777) == access.mode) {
        return true;
    }
    return given.contains(now.st_uid) &&
           ::fchownat(place.number(), "", access.user, access.group, AT_EMPTY_PATH) == 0 &&
           ::chmod(pathIn(place, "").c_str(), access.mode) == 0;
}

}  // namespace

Outcome keepAccess(const std::string& checkpoint, const std::vector<zp::host::Effect>& effects) {
    std::string text;
    for (const zp::host::Effect& effect : effects) {
        if (effect.deep && effect.step == zp::host::Effect::Step::GiveAccess) {
            if (Outcome noted = noteTree(text, effect.path); !noted.ok()) {
                return noted;
            }
        }
    }
    const std::string file = fileIn(checkpoint);
    return text.empty() || exists(file) ? done() : replaceFile(file, text, 0600);
}

Expected<std::string> keptAccess(const std::string& checkpoint) {
    auto text = readFile(fileIn(checkpoint));
    return text.outcome().status == Status::NotFound ? Expected(std::string()) : std::move(text);
}

Outcome restoreAccess(const std::string& kept, const std::vector<zp::host::Effect>& effects) {
    Users given;
    for (const zp::host::Effect& effect : effects) {
        given.insert(effect.deep ? effect.user : std::nullopt);
    }
    Outcome outcome;
    Expected<Descriptor> directory = failure("none");
    std::string above;
    std::istringstream entries(kept);
    for (std::string entry; std::getline(entries, entry, '\0');) {
        const bool isDirectory = entry.starts_with('/');
        const Access access = isDirectory ? Access{} : accessIn(entry);
        const bool isWhole = access.path.starts_with('/');
        if (const std::string wanted = isDirectory ? entry
                                       : isWhole   ? directoryOf(access.path)
                                                   : above;
            wanted != above) {
            above = wanted;
            directory = openGuarded(above);
        }
        const bool isGone = directory.outcome().status == Status::NotFound;
        const std::string name = nameOf(access.path);
        if (!isDirectory && !isGone && !(directory.ok() && giveBack(*directory, name, access, given))) {
            outcome = failure(printable(above + "/" + name) +
                              ": its owner and mode stay; it is another file, or another one's, by now");
        }
    }
    return outcome;
}

}  // namespace zpweb
