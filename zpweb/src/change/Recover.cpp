// What an interrupted run has left, undone or finished by the next one.
#include <algorithm>

#include "change/Deferred.h"
#include "change/Transaction.h"
#include "sys/File.h"
#include "sys/Hash.h"

namespace zpweb {

Outcome Transaction::recover() {
    if (settings_.dryRun && (exists(state_->journal()) || exists(state_->stage()))) {
        lock_.reset();  // nothing of what is there is this run's to clear up
        return failure("an interrupted run has left something in " + state_->folder +
                       ": a dry run leaves it as it is; the next change clears it up first");
    }
    if (!exists(state_->journal())) {
        removeTree(state_->stage());
        return done();
    }
    const auto text = readFile(state_->journal());
    auto journal = text.ok() ? Journal::from(*text) : std::nullopt;
    if (!journal) {
        return failure(state_->journal() + ": cannot be read; look at it and remove it");
    }
    Outcome outcome = complete(*journal);
    if (!outcome.ok()) {
        return outcome;
    }
    for (const std::string& scratch : journal->scratch) {
        const Descriptor hold = Lock::holdFolder(folderOf(scratch));
        removeTree(scratch);
    }
    removeTree(state_->stage());
    removeTree(state_->journal());
    return done();
}

Outcome Transaction::complete(Journal& journal) {
    size_t inPlace = 0;
    for (const ChangedFile& file : journal.files) {
        inPlace += currentHash(file.path) == file.after;
    }
    const std::string what = "an interrupted run (" + journal.command + ") ";
    if (journal.committing && inPlace == journal.files.size()) {
        for (const auto& words : journal.outstanding) {
            if (Outcome carried = carryOut(words); !carried.ok()) {
                output_.warning(carried.message);
            }
        }
        output_.warning(what +
                        "had made its change but may not have reloaded the server: see zpweb history");
        std::swap(journal_, journal);
        committed_ = true;
        if (journal_.undoes != 0) {
            Outcome marked = markUndone(state_->checkpoint(journal_.undoes));
            if (!marked.ok()) {
                output_.warning(marked.message);
            }
        }
        record({Status::Done, "completed by the run that followed"});
        committed_ = false;
        std::swap(journal_, journal);
        return done();
    }
    if (inPlace > 0) {
        std::swap(journal_, journal);
        Outcome back = putBack();
        std::swap(journal_, journal);
        if (!back.ok()) {
            return back;
        }
    }
    if (journal.committing) {
        removeTree(state_->checkpoint(journal.checkpoint));
    }
    removeMade(journal.made);
    output_.note(what + "is undone");
    return done();
}

}  // namespace zpweb
