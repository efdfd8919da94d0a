#include "store/Migration.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <iterator>

#include "sys/Copy.h"
#include "sys/Descriptor.h"
#include "sys/File.h"

namespace zpweb {

namespace {

// The journal comes last: it names checkpoints.
constexpr const char* Carried[] = {"audit.log", "checkpoints", "released", "journal"};

Outcome copyTree(const std::string& from, const std::string& to) {
    if (linkTarget(from) || !isDirectory(from)) {
        return copyWhole(from, to);
    }
    Outcome outcome = createDirectory(to, 0700);
    const auto names = listed(from);
    outcome = outcome.ok() ? names.outcome() : outcome;
    for (size_t i = 0; outcome.ok() && i < names->size(); ++i) {
        outcome = copyTree(from + "/" + (*names)[i], to + "/" + (*names)[i]);
    }
    return outcome.ok() ? sync(to) : outcome;
}

Outcome bring(const std::string& from, const std::string& to) {
    if (!exists(from)) {
        return done();
    }
    if (std::rename(from.c_str(), to.c_str()) == 0) {
        return done();
    }
    const std::string fresh = to + ".new";
    removeTree(fresh);
    Outcome copied = copyTree(from, fresh);
    if (copied.ok() && std::rename(fresh.c_str(), to.c_str()) != 0) {
        return failure(systemError(to));
    }
    copied = copied.ok() ? sync(directoryOf(to)) : copied;
    removeTree(copied.ok() ? from : to);
    return copied;
}

// Somebody may have made the directory for all to see. What a link leads to may be anybody's.
Outcome closeToOthers(const std::string& path) {
    constexpr mode_t Others = 077;
    const Descriptor directory(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    struct stat status {};
    const bool open = directory.isOpen() && ::fstat(directory.number(), &status) == 0 &&
                      status.st_uid == ::geteuid() && (status.st_mode & Others) != 0;
    return open && ::fchmod(directory.number(), 0700) != 0 ? failure(systemError(path)) : done();
}

}  // namespace

Outcome moveFromBefore(const State& state, Output& output) {
    const std::string before = state.before();
    Outcome closed = closeToOthers(state.directory);
    if (!closed.ok() || before == state.directory || !isDirectory(before)) {
        return closed;
    }
    const Descriptor lock(::open((before + "/lock").c_str(), O_RDWR | O_CLOEXEC | O_NOFOLLOW));
    if (lock.isOpen() && ::flock(lock.number(), LOCK_EX | LOCK_NB) != 0) {
        return failure(Status::Locked, "another run of zpweb is at work in " + before);
    }
    if (std::any_of(std::begin(Carried), std::end(Carried), [&](const char* name) {
            return exists(before + "/" + name) && exists(state.directory + "/" + name);
        })) {
        output.note(before + ": the state of an earlier version, which is not used beside " +
                    state.directory + "; it stays until it is removed");
        return done();
    }
    for (const char* name : Carried) {
        if (Outcome brought = bring(before + "/" + name, state.directory + "/" + name); !brought.ok()) {
            return failure("cannot bring " + before + " to " + state.directory + ": " + brought.message);
        }
    }
    removeTree(before);
    return done();
}

}  // namespace zpweb
