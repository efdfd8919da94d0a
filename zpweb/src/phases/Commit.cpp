#include "phases/Commit.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <optional>
#include <set>

#include "phases/Candidates.h"
#include "phases/PutBack.h"
#include "store/Checkpoints.h"
#include "store/Clock.h"
#include "sys/File.h"
#include "sys/GuardedDirectory.h"
#include "sys/Hash.h"
#include "sys/OwnersFile.h"
#include "text/Patch.h"

namespace zpweb {

namespace {

// A place that is held: its directory is open, so that no name above it leads elsewhere meanwhile.
struct HeldPlace {
    Descriptor directory;
    std::string name;

    // The error's number; 0 when it is done.
    int rename(const std::string& candidate, unsigned flags) const {
        const int done = ::renameat2(AT_FDCWD, candidate.c_str(), directory.number(), name.c_str(), flags);
        return done == 0 ? 0 : errno;
    }
    int moveOut(const std::string& candidate) const {
        const int done =
            ::renameat2(directory.number(), name.c_str(), AT_FDCWD, candidate.c_str(), RENAME_NOREPLACE);
        return done == 0 ? 0 : errno;
    }
};

Outcome asOutcome(int error, const std::string& path) {
    return error == 0 ? done() : failure(path + ": " + std::strerror(error));
}

bool isNotOffered(int error) { return error == EINVAL || error == ENOSYS; }

Outcome changedMeanwhile(const std::string& path, bool& again) {
    again = true;
    return failure(path + ": somebody else has changed it meanwhile");
}

bool isWhatWasRead(const std::string& path, const ChangedFile& changed) {
    const auto now = currentHash(path);
    return now.ok() && *now == changed.before;
}

// A file system that offers no such rename: the look and the rename are two steps there.
Outcome replaceAfterLook(const HeldPlace& place, const ChangedFile& changed, const std::string& candidate,
                         bool& again) {
    return isWhatWasRead(changed.path, changed) ? asOutcome(place.rename(candidate, 0), changed.path)
                                                : changedMeanwhile(changed.path, again);
}

// What came out of the place must be what was read; else it goes back where it was.
Outcome lookAtWhatCameOut(const HeldPlace& place, const ChangedFile& changed, const std::string& candidate,
                          unsigned wayBack, bool& again) {
    if (isWhatWasRead(candidate, changed)) {
        return done();
    }
    const int error = place.rename(candidate, wayBack);
    return error == 0 ? changedMeanwhile(changed.path, again) : asOutcome(error, changed.path);
}

Outcome exchange(const HeldPlace& place, const ChangedFile& changed, const std::string& candidate,
                 bool& again) {
    const int error = place.rename(candidate, RENAME_EXCHANGE);
    if (error == 0) {
        return lookAtWhatCameOut(place, changed, candidate, RENAME_EXCHANGE, again);
    }
    return isNotOffered(error) ? replaceAfterLook(place, changed, candidate, again)
           : error == ENOENT   ? changedMeanwhile(changed.path, again)
                               : asOutcome(error, changed.path);
}

Outcome takeFileOut(const HeldPlace& place, const ChangedFile& changed, const std::string& candidate,
                    bool& again) {
    const int error = place.moveOut(candidate);
    if (error == 0) {
        return lookAtWhatCameOut(place, changed, candidate, RENAME_NOREPLACE, again);
    }
    return error == ENOENT ? changedMeanwhile(changed.path, again) : asOutcome(error, changed.path);
}

Outcome addFile(const HeldPlace& place, const ChangedFile& changed, const std::string& candidate,
                bool& again) {
    const int error = place.rename(candidate, RENAME_NOREPLACE);
    return isNotOffered(error) ? replaceAfterLook(place, changed, candidate, again)
           : error == EEXIST   ? changedMeanwhile(changed.path, again)
                               : asOutcome(error, changed.path);
}

Outcome putInPlace(const ChangedFile& changed, const StagedFile& file, bool& again) {
    auto directory = openGuarded(directoryOf(changed.path));
    if (!directory.ok()) {
        return directory.outcome();
    }
    const HeldPlace place{std::move(*directory), nameOf(changed.path)};
    const auto candidate = file.beside.empty()
                               ? Expected(file.candidate)
                               : Candidates::bringBeside(changed.path, file, place.directory);
    if (!candidate.ok()) {
        return candidate.outcome();
    }
    const auto step = changed.before.empty() ? addFile : changed.after.empty() ? takeFileOut : exchange;
    return step(place, changed, *candidate, again);
}

Outcome syncAll(const std::set<std::string>& directories) {
    for (const std::string& path : directories) {
        const auto directory = openGuarded(path);
        if (!directory.ok() || ::fsync(directory->number()) != 0) {
            return directory.ok() ? failure(systemError(path)) : directory.outcome();
        }
    }
    return done();
}

// Each directory once, however many of its files took their places.
Outcome syncDirectories(const Journal& journal) {
    std::set<std::string> directories;
    for (const ChangedFile& changed : journal.files) {
        directories.insert(directoryOf(changed.path));
    }
    return syncAll(directories);
}

// As it was read. Of a file of a site's owner a second name would not do: who has it open can write to it
// still.
Outcome keepOld(const std::string& path, const StagedFile& file, const std::string& name) {
    if (file.ofServer || file.before.isLink()) {
        return keepAs(path, name, file.before.size());
    }
    const auto fresh = makeNewFile(name, file.before.pieces(), 0600);
    const Outcome kept =
        fresh.ok() ? takeOverFromOwnersFile(path, file.before.hash(), *fresh) : fresh.outcome();
    return kept.ok() ? sync(*fresh, name) : kept;
}

Outcome keep(const State& state, const Journal& journal, const std::map<std::string, StagedFile>& files) {
    const std::string directory = state.checkpoint(journal.checkpoint);
    for (size_t i = 0; i < journal.files.size(); ++i) {
        const StagedFile& file = files.at(journal.files[i].path);
        if (!file.before) {
            continue;
        }
        const std::string name = directory + "/" + std::to_string(i);
        Outcome kept = keepOld(journal.files[i].path, file, name);
        if (kept.ok() && !file.before.isLink() && !file.after.isLink()) {
            Patch patch = patchOf(file.before, file.after);
            patch.middle.insert(patch.middle.begin(), patch.head);
            kept = writeNewFile(name + ".patch", patch.middle, 0600);
        }
        if (!kept.ok()) {
            return kept;
        }
    }
    return describeCheckpoint(state, {journal, journal.checkpoint, timeNow(), false});
}

// What the members before one have made of a file, for its checkpoint: how to get from the file as it was
// before all of them to what the member found.
class Earlier {
public:
    // Absent: there is no such way, or a link on it.
    std::optional<std::string> to(const FileStep& step, const StagedFile& whole) {
        const bool isText = whole.before && !whole.before.isLink() && !links_.contains(step.path);
        return isText ? std::optional(patches_[step.path]) : std::nullopt;
    }
    void pass(const FileStep& step) {
        if (step.before.isLink() || step.after.isLink()) {
            links_.insert(step.path);
        } else {
            appendPatch(patches_[step.path], patchOf(step.before, step.after));
        }
    }

private:
    std::map<std::string, std::string> patches_;
    std::set<std::string> links_;
};

Outcome keepStep(const FileStep& step, const StagedFile& whole, const std::string& name, Earlier& earlier) {
    const auto way = earlier.to(step, whole);
    Outcome kept;
    if (!step.before) {
        return kept;
    }
    if (step.before.isLink()) {
        kept =
            ::symlink(step.before.text().c_str(), name.c_str()) == 0 ? done() : failure(systemError(name));
    } else if (way) {
        kept = keepOld(step.path, whole, name);
        kept = kept.ok() && !way->empty() ? writeNewFile(name + ".earlier", *way, 0600) : kept;
    } else {
        kept = writeNewFile(name, step.before.pieces(), step.mode);
    }
    if (kept.ok() && !step.before.isLink() && !step.after.isLink()) {
        kept = writeNewFile(name + ".patch", patchOf(step.before, step.after).text(), 0600);
    }
    return kept;
}

// A checkpoint for each, as if they had been made one after the other.
Outcome keepEach(const Committing& change, const Journal& journal) {
    Earlier earlier;
    Outcome outcome;
    for (size_t k = 0; outcome.ok() && k < journal.members.size(); ++k) {
        const Journal& member = journal.members[k];
        const std::string directory = change.state.checkpoint(member.checkpoint);
        outcome = member.makes() ? makeCheckpoint(change.state, member.checkpoint) : done();
        const std::vector<FileStep>& steps = change.steps[k];
        for (size_t i = 0; outcome.ok() && i < steps.size(); ++i) {
            outcome = keepStep(steps[i], change.files.at(steps[i].path),
                               directory + "/" + std::to_string(i), earlier);
        }
        std::for_each(steps.begin(), steps.end(), [&](const FileStep& step) { earlier.pass(step); });
        if (outcome.ok() && member.makes()) {
            outcome = describeCheckpoint(change.state, {member, member.checkpoint, timeNow(), false});
        }
    }
    return outcome;
}

// That of the whole has the number behind those of its members, and they are numbered after it is made: the
// next change gets the number again.
int numberEach(Journal& journal, int number) {
    for (Journal& member : journal.members) {
        member.checkpoint = member.makes() ? number++ : 0;
    }
    return number;
}

// Everything as it was, or the checkpoint stays, and the journal with it.
Outcome takeBack(const State& state, Journal& journal, Outcome reason, bool& again) {
    Outcome back = putBack(state, journal);
    if (!back.ok()) {
        again = false;
        return back;
    }
    removeCheckpoints(state, journal);
    journal.checkpoint = 0;
    return reason;
}

}  // namespace

// It may lie on a file system of its own, and a server whose log directory is gone does not start.
Outcome make(const std::vector<zp::host::Effect>& making) {
    std::set<std::string> directories;
    for (const zp::host::Effect& effect : making) {
        if (!zp::host::carryOut(effect)) {
            return failure(effect.path + ": could not be made (" + systemError("the last error") + ")");
        }
        directories.insert(directoryOf(effect.path));
    }
    return syncAll(directories);
}

Outcome commit(const Committing& change, Journal& journal, bool& again) {
    const auto number = nextCheckpoint(change.state);
    if (!number.ok()) {
        return number.outcome();
    }
    journal.checkpoint = numberEach(journal, *number);
    journal.progress = JournalState::Committing;
    Outcome outcome = change.writeJournal();
    outcome = outcome.ok() ? makeCheckpoint(change.state, journal.checkpoint) : outcome;
    outcome = outcome.ok() ? Candidates::sync(change.files) : outcome;
    outcome = outcome.ok() ? keep(change.state, journal, change.files) : outcome;
    outcome = outcome.ok() ? keepEach(change, journal) : outcome;
    outcome = outcome.ok() && change.beforeItStands ? change.beforeItStands() : outcome;
    outcome = outcome.ok() ? make(change.making) : outcome;
    for (size_t i = 0; outcome.ok() && i < journal.files.size(); ++i) {
        outcome = putInPlace(journal.files[i], change.files.at(journal.files[i].path), again);
    }
    outcome = outcome.ok() ? syncDirectories(journal) : outcome;
    return outcome.ok() ? outcome : takeBack(change.state, journal, outcome, again);
}

}  // namespace zpweb
