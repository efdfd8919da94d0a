#include "phases/PutBack.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <random>

#include "host/HeldDirectory.h"
#include "sys/Copy.h"
#include "sys/File.h"
#include "sys/GuardedDirectory.h"
#include "sys/Hash.h"

namespace zpweb {

namespace {

// A name that is free in the directory. What its owner has put in the way of the usual one, and no rename
// replaces, is left there.
std::string freshName(const Descriptor& directory, const std::string& name) {
    std::string fresh = ".zpweb-" + name;
    if (::unlinkat(directory.number(), fresh.c_str(), 0) != 0 && errno != ENOENT) {
        fresh += "." + std::to_string(std::random_device()());
    }
    return pathIn(directory, fresh);
}

// Of what is kept on another file system. The journal knows the name from the staging, and what the commit
// has taken out of its place may still stand there: a full disk has no room for a copy.
Outcome putBackBeside(const std::string& kept, const Descriptor& directory, const ChangedFile& changed) {
    const std::string name = nameOf(changed.path);
    const std::string usual = pathIn(directory, ".zpweb-" + name);
    const auto out = currentHash(usual);
    if (out.ok() && *out == changed.before &&
        ::rename(usual.c_str(), pathIn(directory, name).c_str()) == 0) {
        return done();
    }
    const std::string fresh = freshName(directory, name);
    Outcome copied = copyWhole(kept, fresh);
    if (copied.ok() && ::rename(fresh.c_str(), pathIn(directory, name).c_str()) != 0) {
        copied = failure(systemError(name));
    }
    if (!copied.ok()) {
        ::unlink(fresh.c_str());
    }
    return toldBy(changed.path, fresh, copied);
}

Outcome putBackFrom(const std::string& kept, const Descriptor& directory, const ChangedFile& changed) {
    const std::string place = pathIn(directory, nameOf(changed.path));
    if (changed.before.empty()) {
        return ::unlink(place.c_str()) == 0 || errno == ENOENT ? done()
                                                               : failure(systemError(changed.path));
    }
    const auto hash = currentHash(kept);
    if (!hash.ok() || *hash != changed.before) {
        return failure(hash.ok() ? "it is damaged" : hash.outcome().message);
    }
    return ::rename(kept.c_str(), place.c_str()) == 0 ? done() : putBackBeside(kept, directory, changed);
}

// The file's directory is held open, so that its owner cannot lead the look, or what follows it, elsewhere.
struct Held {
    Descriptor directory;  // not open where its owner has put something else
    Standing standing;
};

// What bars the way: a link, a file, or a file system of an account's that lets nobody else in, not even
// the administrator.
bool isSomethingElse(const zp::host::HeldDirectory::Obstacle& obstacle) {
    return !obstacle.link.empty() || obstacle.error == ENOTDIR || zp::host::isShutOut(obstacle.error);
}

Expected<Held> holdPlaceOf(const ChangedFile& file) {
    zp::host::HeldDirectory::Obstacle obstacle;
    auto directory = zp::host::HeldDirectory::hold(directoryOf(file.path), &obstacle);
    if (!directory && isSomethingElse(obstacle)) {
        return Held{Descriptor(), Standing::Else};
    }
    if (!directory && obstacle.error != ENOENT) {
        errno = obstacle.error;
        return failure(systemError(file.path));
    }
    Descriptor held = directory ? directory->release() : Descriptor();
    const std::string place = pathIn(held, nameOf(file.path));
    const auto now = held.isOpen() ? currentHash(place) : Expected(std::string());
    if (!now.ok()) {
        return toldBy(file.path, place, now.outcome());
    }
    const Standing standing = *now == file.after    ? Standing::New
                              : *now == file.before ? Standing::Old
                                                    : Standing::Else;
    return Held{std::move(held), standing};
}

}  // namespace

Expected<Standing> standingOf(const ChangedFile& file) {
    const auto held = holdPlaceOf(file);
    return held.ok() ? Expected(held->standing) : held.outcome();
}

Outcome putBack(const State& state, const Journal& journal) {
    Outcome outcome;
    for (size_t i = 0; i < journal.files.size(); ++i) {
        const ChangedFile& changed = journal.files[i];
        const std::string kept = state.checkpoint(journal.checkpoint) + "/" + std::to_string(i);
        const auto held = holdPlaceOf(changed);
        Outcome back = held.ok() ? done() : held.outcome();
        if (held.ok() && held->standing == Standing::New) {
            back = putBackFrom(kept, held->directory, changed);
        }
        if (!back.ok()) {
            outcome = failure("cannot put back " + changed.path + " from " + kept + ": " + back.message);
        }
        if (held.ok() && held->directory.isOpen()) {  // also what an interrupted run has put back
            static_cast<void>(sync(held->directory, changed.path));
        }
    }
    return outcome;
}

Outcome keepAs(const std::string& path, const std::string& name, size_t size) {
    const auto directory = openGuarded(directoryOf(path));
    if (!directory.ok()) {
        return directory.outcome();
    }
    const bool linked = ::linkat(directory->number(), nameOf(path).c_str(), AT_FDCWD, name.c_str(), 0) == 0;
    const std::string place = pathIn(*directory, nameOf(path));
    return linked ? done() : toldBy(path, place, copyWhole(place, name, size));
}

}  // namespace zpweb
