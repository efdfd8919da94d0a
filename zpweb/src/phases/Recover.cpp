#include "phases/Recover.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <random>
#include <vector>

#include "phases/Outstanding.h"
#include "phases/PutBack.h"
#include "store/AuditLog.h"
#include "store/Checkpoints.h"
#include "store/Journal.h"
#include "store/Requests.h"
#include "sys/File.h"
#include "sys/GuardedDirectory.h"

namespace zpweb {

namespace {

class Recovery {
public:
    Recovery(const State& state, Output& output, Journal& journal)
        : state_(state), output_(output), journal_(journal) {}

    Outcome run() {
        // While it is prepared nothing of it is in its place, whatever somebody has done to the files
        // since.
        const bool began = journal_.progress != JournalState::Preparing;
        for (const ChangedFile& file : began ? journal_.files : std::vector<ChangedFile>()) {
            const auto standing = standingOf(file);
            if (!standing.ok()) {
                return standing.outcome();
            }
            (*standing == Standing::New   ? new_
             : *standing == Standing::Old ? old_
                                          : else_)
                .push_back(file.path);
        }
        const bool isComplete = old_.empty() && (!new_.empty() || journal_.files.empty());
        const bool stays = journal_.progress == JournalState::Finishing ||
                           (journal_.progress == JournalState::Committing && isComplete);
        Outcome outcome = stays ? complete() : takeBack();
        for (const std::string& path : journal_.temporary) {
            static_cast<void>(removeFile(path));
        }
        return outcome;
    }

private:
    Outcome complete() {
        if (journal_.progress == JournalState::Committing) {
            output_.warning(what_ +
                            "had made its change but may not have reloaded the server: see zpweb history");
        }
        const Outcome completed{Status::Done, "completed by the run that followed" + others()};
        for (const Journal& each : journal_.each()) {
            static_cast<void>(doOutstanding(state_, each, output_));  // it has told what could not be done
            log(each, completed, true);
            answer(each);
        }
        removeWhole(state_, journal_);
        removeLeftovers(journal_);
        return done();
    }

    Outcome takeBack() {
        if (Outcome back = new_.empty() ? done() : putBack(state_, journal_); !back.ok()) {
            return back;
        }
        removeMade(journal_.made);
        if (else_.empty()) {
            if (journal_.progress != JournalState::Preparing) {
                removeCheckpoints(state_, journal_);
            }
            if (journal_.progress == JournalState::TakingBack) {
                output_.warning(what_ +
                                "is undone, but the server may have loaded it: zpweb server reload");
            } else {
                output_.note(what_ + "is undone");
            }
            return done();
        }
        output_.warning(what_ + "is undone" + others());
        log(journal_, {Status::Error, "interrupted, and undone by the run that followed" + others()},
            false);
        return done();
    }

    // Somebody has edited a file since the interruption, so that it is neither the old nor the new one.
    std::string others() const {
        std::string text;
        for (const std::string& path : else_) {
            text +=
                (text.empty() ? "; as somebody has edited it meanwhile it stays as it is: " : ", ") + path;
        }
        return text.empty()
                   ? text
                   : text + " (what it was is kept in " + state_.checkpoint(journal_.checkpoint) + ")";
    }

    // The process that waits for it must not make it a second time.
    void answer(const Journal& change) {
        RunAnswer answer{done(),
                         {what_ + "has made this change along with its own but may not have reloaded "
                                  "the server: see zpweb history"}};
        answer.told.messages = "zpweb: warning: " + answer.told.messages + "\n";
        answer.told.changed = change.changes();
        answer.told.fields = change.fields;
        answer.told.checkpoint = change.checkpoint;
        const Outcome told =
            change.request.empty() ? done() : answerRequest(state_, change.request, answer);
        if (!told.ok()) {
            output_.warning(told.message);
        }
    }

    void log(const Journal& change, const Outcome& result, bool inPlace) {
        if (!journal_.members.empty() && !change.changes()) {
            return;
        }
        if (Outcome written = record(state_, change, result, inPlace); !written.ok()) {
            output_.warning("the change is not in the log: " + written.message);
        }
    }

    const State& state_;
    Output& output_;
    Journal& journal_;
    const std::string what_ = "an interrupted run (" + journal_.command + ") ";
    std::vector<std::string> old_, new_, else_;
};

// What came out of an owner's file's place, and could not go back, may have something mounted in it, so
// that it cannot be removed: the next change would find it in its way.
void clearStage(const State& state) {
    removeTree(state.stage());
    if (exists(state.stage())) {
        const std::string aside = state.stage() + ".left-" + std::to_string(std::random_device()());
        static_cast<void>(::rename(state.stage().c_str(), aside.c_str()));
    }
}

}  // namespace

Outcome recover(const State& state, Output& output, bool dryRun) {
    if (dryRun && (exists(state.journal()) || exists(state.stage()))) {
        return failure("an interrupted run has left something in " + state.directory +
                       ": a dry run leaves it as it is; the next change clears it up first");
    }
    if (!dryRun) {
        for (const std::string& unfinished : {state.journal(), state.reading(), state.unconfirmed()}) {
            ::unlink((unfinished + ".new").c_str());  // it was not in force
        }
        removeDeadRequests(state);
    }
    const auto text = readFile(state.journal());
    if (!text.ok()) {
        clearStage(state);
        return text.outcome().status == Status::NotFound ? done() : text.outcome();
    }
    auto journal = Journal::from(*text);
    if (!journal) {
        return failure(state.journal() + ": cannot be read; look at it and remove it");
    }
    if (Outcome outcome = Recovery(state, output, *journal).run(); !outcome.ok()) {
        return outcome;
    }
    clearStage(state);
    removeTree(state.journal());
    return exists(state.journal()) ? failure(state.journal() + ": cannot be removed")
                                   : sync(state.directory);
}

}  // namespace zpweb
