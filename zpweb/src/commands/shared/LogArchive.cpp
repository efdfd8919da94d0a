#include "commands/shared/LogArchive.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <vector>

#include "CZPWebsite.h"
#include "Results.h"
#include "commands/shared/Operation.h"
#include "host/HeldFile.h"
#include "host/Machine.h"
#include "store/Rooms.h"
#include "sys/File.h"
#include "sys/GuardedDirectory.h"
#include "sys/Process.h"

namespace zpweb {

namespace {

constexpr std::string_view Packed = ".tar.gz";
constexpr int MostOfAnHour = 1000;
constexpr std::string_view RoomName = ".zpweb-rotate.";
constexpr const char* KeptName = ".kept";  // the log's second name, until its archive is whole

bool isArchive(const std::string& name) { return name.ends_with(Packed); }

std::string numbered(const std::string& name, int number) {
    return number == 1 ? name : name + "." + std::to_string(number);
}

// Into the directory, under the first of the names that is free; that name.
Expected<std::string> moveToFree(int from, const std::string& name, int to, const std::string& base,
                                 std::string_view ending) {
    for (int number = 1; number <= MostOfAnHour; ++number) {
        const std::string free = numbered(base, number) + std::string(ending);
        int moved = ::renameat2(from, name.c_str(), to, free.c_str(), RENAME_NOREPLACE);
        if (moved != 0 && (errno == EINVAL || errno == ENOSYS)) {  // a file system that does not offer it
            struct stat status {};
            const bool isThere = ::fstatat(to, free.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0;
            const bool isFree = !isThere && errno == ENOENT;
            errno = isThere ? EEXIST : errno;
            moved = isFree ? ::renameat(from, name.c_str(), to, free.c_str()) : -1;
        }
        if (moved == 0) {
            return free;
        }
        if (errno != EEXIST) {
            return failure(systemError(name));
        }
    }
    return failure(base + ": too many of this hour");
}

Outcome isPlainFile(const Descriptor& directory, const std::string& path) {
    struct stat status {};
    if (::fstatat(directory.number(), nameOf(path).c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) {
        zp::host::noteFault(path);
        return failure(errno == ENOENT ? Status::NotFound : Status::Error, systemError(path));
    }
    return S_ISREG(status.st_mode) ? done()
                                   : failure(path + ": no plain file; a symbolic link is not followed");
}

// A plain file that is nobody else's, too: a hard link may be one of root's.
bool isOnlyName(int directory, const char* name) {
    struct stat status {};
    return ::fstatat(directory, name, &status, AT_SYMLINK_NOFOLLOW) == 0 && S_ISREG(status.st_mode) &&
           status.st_nlink == 1;
}

// What takes no room on the disk would take it in the archive, and its time.
bool hasHoles(int directory, const std::string& name) {
    constexpr off_t Few = 1 << 30;
    constexpr off_t Sector = 512;  // whatever the file system's are
    struct stat status {};
    const Descriptor file(
        ::openat(directory, name.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    return file.isOpen() && ::fstat(file.number(), &status) == 0 &&
           status.st_size - status.st_blocks * Sector > Few &&
           ::lseek(file.number(), 0, SEEK_HOLE) < status.st_size;
}

// A directory of this process's alone beside the log, where nobody else can place anything.
class Room {
public:
    Room(const State& state, int beside)
        : state_(state), beside_(beside), room_(zp::host::makeDirectoryIn(beside, name_)) {
        if (room_.isOpen() && !noteRoom(state, room_).ok()) {
            ::unlinkat(beside_, name_.c_str(), AT_REMOVEDIR);
            room_.close();
        }
    }
    ~Room() {
        if (room_.isOpen() && ::unlinkat(beside_, name_.c_str(), AT_REMOVEDIR) == 0) {
            forgetRoom(state_, room_);
        }
    }
    Room(const Room&) = delete;
    Room& operator=(const Room&) = delete;

    bool isOpen() const { return room_.isOpen(); }
    const Descriptor& directory() const { return room_; }
    // What the packing left beside the log; empty when there is none.
    Expected<std::string> archive() const {
        auto names = listed(pathIn(room_, ""));
        const auto found = names.ok() ? std::find_if(names->begin(), names->end(), isArchive)
                                      : std::vector<std::string>::iterator();
        return !names.ok()             ? Expected<std::string>(names.outcome())
               : found == names->end() ? Expected<std::string>("")
                                       : Expected<std::string>(*found);
    }

private:
    const State& state_;
    int beside_;
    std::string name_ = std::string(RoomName) + std::to_string(::getpid());
    Descriptor room_;
};

// Each line is there once: the log comes out of its room only when no archive of it is left there.
bool takeOutWithout(const std::vector<std::string>& archives, int room, int out, const std::string& aside) {
    const bool gone = std::all_of(archives.begin(), archives.end(), [&](const std::string& name) {
        return ::unlinkat(room, name.c_str(), 0) == 0;
    });
    return gone && moveToFree(room, KeptName, out, aside, "").ok();
}

// What a run that was interrupted has left in its room comes out: the log, or when that is gone its
// archive. What cannot be done at this moment stays for the next rotation.
void empty(const State& state, int beside, const std::string& room, int out, const std::string& aside) {
    const Descriptor inside(
        ::openat(beside, room.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    if (!isRoom(state, inside)) {
        ::unlinkat(beside, room.c_str(), AT_REMOVEDIR);  // while there is nothing in it
        return;
    }
    const auto names = listed(pathIn(inside, ""));
    if (!names.ok()) {
        return;
    }
    std::vector<std::string> archives;
    std::copy_if(names->begin(), names->end(), std::back_inserter(archives), isArchive);
    if (std::find(names->begin(), names->end(), KeptName) != names->end()) {
        if (!takeOutWithout(archives, inside.number(), out, aside)) {
            return;
        }
        archives.clear();
    }
    for (const std::string& name : archives) {  // whole: the log is let go of when its archive is
        static_cast<void>(
            moveToFree(inside.number(), name, out, name.substr(0, name.size() - Packed.size()), Packed));
    }
    for (const std::string& name : entriesOf(pathIn(inside, ""))) {
        if (::unlinkat(inside.number(), name.c_str(), 0) != 0) {  // the operation's own room
            for (const std::string& log : entriesOf(pathIn(inside, name))) {
                ::unlinkat(inside.number(), (name + "/" + log).c_str(), 0);
            }
            ::unlinkat(inside.number(), name.c_str(), AT_REMOVEDIR);
        }
    }
    if (::unlinkat(beside, room.c_str(), AT_REMOVEDIR) == 0) {
        forgetRoom(state, inside);
    }
}

// By the operation, which finds its log in a configuration. The path is that of an open directory.
Outcome rotate(Transaction& change, const std::string& site, const Descriptor& directory,
               const std::string& name, const char* option) {
    const std::string file = change.state().stage() + "/rotate.conf";
    Outcome outcome = writeNewFile(file,
                                   "<VirtualHost *>\nServerName " + site + "\nCustomLog " +
                                       pathIn(directory, name) + " combined\n</VirtualHost>\n",
                                   0600);
    if (outcome.ok()) {
        CZPWebsite website(nullptr, file.c_str());
        const int result =
            quietly(change.output(), [&] { return website.rotateLog(file, site, "0", option); });
        outcome = resultOf("rotateLog", result, {zp::result::log::Rotated});
    }
    ::unlink(file.c_str());
    return outcome;
}

// The archive holds what the log does, and on the disk: a tool that could not read all of it packs the rest
// as well as none.
bool isWhole(const Descriptor& room, const std::string& archive, const std::string& name) {
    const int inside = room.number();
    const std::string path = zp::host::pathOf(inside);
    // As the operation names it: with a dash before it, it would be an option.
    const std::string member = (name.starts_with('-') ? "./" : "") + name;
    return ::linkat(inside, KeptName, inside, name.c_str(), 0) == 0 &&
           runProgram({"tar", "-dzf", path + "/" + archive, "-C", path, member}).ok() &&
           sync(pathIn(room, archive)).ok() && sync(room, archive).ok();
}

}  // namespace

Outcome canBePacked(const std::string& log) {
    const auto directory = openGuarded(directoryOf(log));
    return directory.ok() && hasHoles(directory->number(), nameOf(log))
               ? failure(Status::Refused,
                         log + ": it is mostly holes, which would be packed as zeros (--delete)")
               : done();
}

Expected<std::string> putAside(const std::string& log) {
    const auto directory = openGuarded(directoryOf(log));
    Outcome plain = directory.ok() ? isPlainFile(*directory, log) : directory.outcome();
    if (!plain.ok()) {
        return plain;
    }
    const std::string name = nameOf(log);
    auto aside =
        moveToFree(directory->number(), name, directory->number(), name + "-" + currentTimeStamp(), "");
    return aside.ok() ? Expected(directoryOf(log) + "/" + *aside) : std::move(aside);
}

std::vector<std::string> leftAside(const State& state, const std::string& log) {
    std::vector<std::string> left;
    const auto directory = openGuarded(directoryOf(log));
    const std::string start = nameOf(log) + "-";
    for (const std::string& name :
         directory.ok() ? entriesOf(pathIn(*directory, "")) : std::vector<std::string>()) {
        if (name.starts_with(RoomName)) {
            empty(state, directory->number(), name, directory->number(), start + currentTimeStamp());
        }
    }
    for (const std::string& name :
         directory.ok() ? entriesOf(pathIn(*directory, "")) : std::vector<std::string>()) {
        const bool stamped =
            name.starts_with(start) && name.size() > start.size() &&
            std::count(name.begin() + static_cast<long>(start.size()), name.end(), '-') == 3 &&
            name.find_first_not_of("0123456789-.", start.size()) == std::string::npos;
        if (stamped && isPlainFile(*directory, name).ok()) {
            left.push_back(directoryOf(log) + "/" + name);
        }
    }
    return left;
}

Outcome pack(Transaction& change, const std::string& site, const std::string& aside,
             const std::string& log) {
    const auto directory = openGuarded(directoryOf(aside));
    if (!directory.ok()) {
        return directory.outcome();
    }
    const Room room(change.state(), directory->number());
    const std::string name = nameOf(log);
    const int inside = room.isOpen() ? room.directory().number() : -1;
    if (inside < 0 || ::renameat(directory->number(), nameOf(aside).c_str(), inside, KeptName) != 0) {
        return failure("cannot be packed: " + systemError(aside));
    }
    // Looked at where nobody else can change its name any more.
    const bool only = isOnlyName(inside, KeptName);
    if (!only || hasHoles(inside, KeptName)) {
        static_cast<void>(moveToFree(inside, KeptName, directory->number(), nameOf(aside), ""));
        return failure(aside + (only ? ": it is mostly holes" : ": no log of its own any more") +
                       "; it stays as it is");
    }
    // The operation lets go of the log however its packing ended.
    Outcome packed = ::linkat(inside, KeptName, inside, name.c_str(), 0) == 0
                         ? rotate(change, site, room.directory(), name, "ZIPandDEL")
                         : failure(systemError(aside));
    const auto found = room.archive();
    if (!found.ok()) {  // the next rotation finds the log in the room
        return found.outcome();
    }
    const std::string& archive = *found;
    const bool whole = packed.ok() && !archive.empty() && isWhole(room.directory(), archive, name);
    if (!whole || ::unlinkat(inside, KeptName, 0) != 0) {
        ::unlinkat(inside, name.c_str(), 0);
        const std::vector<std::string> archives(archive.empty() ? 0 : 1, archive);
        static_cast<void>(takeOutWithout(archives, inside, directory->number(), nameOf(aside)));
        return packed.ok() ? failure(aside + (whole ? ": cannot be removed, so it stays unpacked"
                                                    : ": tar made no whole archive of it"))
                           : packed;
    }
    ::unlinkat(inside, name.c_str(), 0);
    return moveToFree(inside, archive, directory->number(),
                      archive.substr(0, archive.size() - Packed.size()), Packed)
        .outcome();
}

Outcome discard(Transaction& change, const std::string& site, const std::string& aside) {
    const auto directory = openGuarded(directoryOf(aside));
    return directory.ok() ? rotate(change, site, *directory, nameOf(aside), "DEL") : directory.outcome();
}

}  // namespace zpweb
