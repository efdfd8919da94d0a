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

// A second name for the old file, or a copy where the file system has none to give.
Outcome keepAs(const std::string& path, const std::string& name, const std::string& text) {
    return ::link(path.c_str(), name.c_str()) == 0 ? done() : writeNewFile(name, text, 0600);
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
    return folderOf(path) + "/.zpweb-" + nameOf(path);
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
    return writeNewFile(folder + "/change",
                        Checkpoint{journal_, journal_.checkpoint, timeNow(), undone_, false}.text(), 0600);
}

// The candidates are on the disk, and the live files are still what was read.
Outcome Transaction::readyToReplace(bool& again) {
    for (const ChangedFile& changed : journal_.files) {
        const File& file = files_.at(changed.path);
        if (Outcome synced = file.after ? sync(file.staged) : done(); !synced.ok()) {
            return synced;
        }
        if (currentHash(changed.path) != changed.before) {
            again = true;
            return failure(changed.path + ": somebody else has changed it meanwhile");
        }
    }
    return done();
}

Outcome Transaction::putInPlace() {
    for (const ChangedFile& changed : journal_.files) {
        const File& file = files_.at(changed.path);
        const bool inPlace = file.after ? ::rename(file.staged.c_str(), changed.path.c_str()) == 0
                                        : ::unlink(changed.path.c_str()) == 0;
        if (!inPlace) {
            Outcome failed = failure(systemError(changed.path));
            Outcome back = putBack();
            return back.ok() ? failed : back;
        }
        static_cast<void>(sync(folderOf(changed.path)));
    }
    return done();
}

Outcome Transaction::commit(bool& again) {
    output_.step("putting the change in place");
    journal_.checkpoint = lastCheckpoint(*state_) + 1;
    for (const auto& [path, file] : files_) {
        if (file.changed()) {
            journal_.files.push_back({path, file.before.hash(), file.after.hash()});
        }
    }
    journal_.committing = true;
    if (Outcome written = writeJournal(); !written.ok()) {
        return written;
    }
    if (Outcome ready = readyToReplace(again); !ready.ok()) {
        return ready;
    }
    Outcome outcome = writeCheckpoint();
    outcome = outcome.ok() ? putInPlace() : outcome;
    if (!outcome.ok()) {
        removeTree(state_->checkpoint(journal_.checkpoint));
    }
    committed_ = outcome.ok();
    return outcome;
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
        if (changed.before.empty()) {
            ::unlink(changed.path.c_str());
        } else if (::rename(kept.c_str(), changed.path.c_str()) != 0) {
            const auto text = readFile(kept);
            Outcome copied = text.ok() ? replaceFile(changed.path, *text, 0600) : text.outcome();
            if (!copied.ok()) {
                outcome =
                    failure("cannot put back " + changed.path + " from " + kept + ": " + copied.message);
            }
        }
        static_cast<void>(sync(folderOf(changed.path)));
    }
    return outcome;
}

}  // namespace zpweb
