// Candidates take the places of the live files, all or none.
#include <sys/stat.h>

#include <cstdio>

#include "change/Clock.h"
#include "change/Transaction.h"
#include "sys/File.h"
#include "sys/Hash.h"
#include "sys/Number.h"
#include "text/Patch.h"

namespace zpweb {

namespace {

bool onSameFileSystem(const std::string& a, const std::string& b) {
    struct stat first {};
    struct stat second {};
    return ::stat(a.c_str(), &first) == 0 && ::stat(b.c_str(), &second) == 0 &&
           first.st_dev == second.st_dev;
}

// A candidate in the file's own folder.
std::string besides(const std::string& path) { return folderOf(path) + "/.zpweb-" + nameOf(path); }

// A second name for the old file, or a copy where the file system has none to give.
Outcome keepAs(const std::string& path, const std::string& name, const std::string& text) {
    if (::link(path.c_str(), name.c_str()) == 0) {
        return done();
    }
    Outcome copied = writeNewFile(name, text, 0600);
    copied = copied.ok() ? takeOverAttributes(path, name) : copied;
    return copied.ok() ? sync(name) : copied;
}

// The kept file of another file system. The journal knows the name from the staging.
Outcome copyInPlace(const std::string& kept, const std::string& path, const std::string& text) {
    const std::string fresh = besides(path);
    ::unlink(fresh.c_str());
    Outcome copied = writeNewFile(fresh, text, 0600);
    copied = copied.ok() ? takeOverAttributes(kept, fresh) : copied;
    copied = copied.ok() ? sync(fresh) : copied;
    if (copied.ok() && ::rename(fresh.c_str(), path.c_str()) != 0) {
        copied = failure(systemError(path));
    }
    if (!copied.ok()) {
        ::unlink(fresh.c_str());
    }
    return copied;
}

Outcome putBackFrom(const std::string& kept, const ChangedFile& changed) {
    if (changed.before.empty()) {
        return ::unlink(changed.path.c_str()) == 0 ? done() : failure(systemError(changed.path));
    }
    const auto text = readFile(kept);
    if (!text.ok()) {
        return text.outcome();
    }
    if (contentHash(*text) != changed.before) {
        return failure("it is damaged");
    }
    return ::rename(kept.c_str(), changed.path.c_str()) == 0 ? done()
                                                             : copyInPlace(kept, changed.path, *text);
}

// What is put in place after it can be taken back after a loss of power, too.
Outcome writeChange(const std::string& folder, const Checkpoint& checkpoint) {
    const std::string change = folder + "/change";
    Outcome outcome = writeNewFile(change, checkpoint.text(), 0600);
    for (const std::string& path : {change, folder, folderOf(folder)}) {
        outcome = outcome.ok() ? sync(path) : outcome;
    }
    return outcome;
}

int lastCheckpoint(const State& state) {
    const auto names = entriesOf(state.checkpoints());
    return names.empty() ? 0 : leadingNumber(names.back());
}

}  // namespace

std::string Transaction::candidateOf(const std::string& path, size_t number) {
    if (onSameFileSystem(folderOf(path), state_->stage())) {
        const bool isMain = path == configuration_->main().path();
        return state_->stage() + "/" +
               (isMain ? nameOf(path) : std::to_string(number) + "-" + nameOf(path));
    }
    return besides(path);
}

Outcome Transaction::stageCandidates() {
    size_t number = 0;
    for (auto& [path, file] : files_) {
        if (!file.changed() || !file.after) {
            continue;
        }
        file.staged = candidateOf(path, ++number);
        if (folderOf(file.staged) != state_->stage()) {
            if (Outcome noted = willMake({file.staged}); !noted.ok()) {
                return noted;
            }
        }
        ::unlink(file.staged.c_str());
        if (Outcome written = writeNewFile(file.staged, file.after.pieces(), file.mode); !written.ok()) {
            return written;
        }
        if (file.before) {
            if (Outcome same = takeOverAttributes(path, file.staged); !same.ok()) {
                return same;
            }
        }
    }
    return done();
}

Outcome Transaction::writeCheckpoint() {
    const std::string folder = state_->checkpoint(journal_.checkpoint);
    if (Outcome made = makeFolder(state_->checkpoints(), 0700); !made.ok()) {
        return made;
    }
    removeTree(folder);
    if (Outcome made = makeFolder(folder, 0700); !made.ok()) {
        return made;
    }
    for (size_t i = 0; i < journal_.files.size(); ++i) {
        const File& file = files_.at(journal_.files[i].path);
        if (!file.before) {
            continue;
        }
        if (Outcome kept =
                keepAs(journal_.files[i].path, folder + "/" + std::to_string(i), file.before.text());
            !kept.ok()) {
            return kept;
        }
        const std::string patch = patchOf(file.before, file.after);
        if (Outcome written = writeNewFile(folder + "/" + std::to_string(i) + ".patch", patch, 0600);
            !written.ok()) {
            return written;
        }
    }
    return writeChange(folder, Checkpoint{journal_, journal_.checkpoint, timeNow(), false});
}

Outcome Transaction::syncCandidates() {
    Outcome outcome;
    for (const auto& [path, file] : files_) {
        outcome = outcome.ok() && !file.staged.empty() ? sync(file.staged) : outcome;
    }
    return outcome;
}

// A file that is still what was read gets its successor.
Outcome Transaction::putInPlace(const ChangedFile& changed, bool& again) {
    const std::string& staged = files_.at(changed.path).staged;
    if (currentHash(changed.path) != changed.before) {
        again = true;
        return failure(changed.path + ": somebody else has changed it meanwhile");
    }
    const bool inPlace = changed.after.empty() ? ::unlink(changed.path.c_str()) == 0
                                               : ::rename(staged.c_str(), changed.path.c_str()) == 0;
    Outcome outcome = inPlace ? done() : failure(systemError(changed.path));
    static_cast<void>(sync(folderOf(changed.path)));
    return outcome;
}

Outcome Transaction::putAllInPlace(bool& again) {
    for (const ChangedFile& changed : journal_.files) {
        if (Outcome outcome = putInPlace(changed, again); !outcome.ok()) {
            if (Outcome back = putBack(); !back.ok()) {
                again = false;
                return back;
            }
            dropCheckpoint();
            return outcome;
        }
    }
    committed_ = true;
    return done();
}

Outcome Transaction::commit(bool& again) {
    output_.step("putting the change in place");
    journal_.checkpoint = lastCheckpoint(*state_) + 1;
    journal_.files = changedFiles();
    journal_.committing = true;
    if (Outcome written = writeJournal(); !written.ok()) {
        return written;
    }
    Outcome outcome = syncCandidates();
    outcome = outcome.ok() ? writeCheckpoint() : outcome;
    if (outcome.ok()) {
        return putAllInPlace(again);
    }
    dropCheckpoint();
    return outcome;
}

void Transaction::dropCheckpoint() {
    removeTree(state_->checkpoint(journal_.checkpoint));
    journal_.checkpoint = 0;
}

// The files as they were, from the checkpoint.
Outcome Transaction::putBack() {
    Outcome outcome;
    for (size_t i = 0; i < journal_.files.size(); ++i) {
        const ChangedFile& changed = journal_.files[i];
        const std::string kept = state_->checkpoint(journal_.checkpoint) + "/" + std::to_string(i);
        if (currentHash(changed.path) != changed.after) {
            continue;
        }
        if (Outcome back = putBackFrom(kept, changed); !back.ok()) {
            outcome = failure("cannot put back " + changed.path + " from " + kept + ": " + back.message);
        }
        static_cast<void>(sync(folderOf(changed.path)));
    }
    return outcome;
}

}  // namespace zpweb
