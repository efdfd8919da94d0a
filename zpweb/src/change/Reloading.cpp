// What follows the commit: the server takes the change or everything goes back, and then what waited for
// it.
#include <chrono>
#include <utility>

#include "change/Transaction.h"
#include "phases/PutBack.h"
#include "phases/Reload.h"
#include "store/Checkpoints.h"

namespace zpweb {

namespace {

constexpr std::chrono::seconds LongestRequest{30};

}  // namespace

std::string Transaction::errorLog() const {
    if (readings_.staged == nullptr) {
        return {};
    }
    const std::string log = readings_.staged->valueIn(Directive::None, "ErrorLog");
    return log.empty() || log.front() == '/' ? log : configuration().serverRoot() + "/" + log;
}

Outcome Transaction::reloadServer() {
    if (!set_->serverChanged() || !settings_->reload) {
        return done();
    }
    if (Outcome ours = lookAtOpened(); !ours.ok()) {  // its owner has had the time of a commit
        return rollBack(ours.message, false);
    }
    const Reloaded reloaded =
        reload({*server_, configuration(), *output_, settings_->check, proofs_, errorLog()});
    return reloaded.outcome.ok() ? done() : rollBack(reloaded.outcome.message, reloaded.asked);
}

Outcome Transaction::rollBack(const std::string& reason, bool asked) {
    journal_.progress = JournalState::TakingBack;
    static_cast<void>(writeJournal());  // on a full disk, too, the old files come back
    Outcome back = putBack(*state_, journal_);
    if (!back.ok()) {
        leftToNext_ = true;
        return {Status::RolledBack, reason + "; " + back.message};
    }
    inPlace_ = false;
    takeBackElse();
    removeCheckpoints(*state_, journal_);
    journal_.checkpoint = 0;
    return {Status::RolledBack, reason + "; the old configuration is back" +
                                    (asked ? bringBack(*server_, state_->configuration) : "")};
}

void Transaction::takeBackElse() {
    for (const auto& action : std::exchange(takingBack_, {})) {
        if (Outcome back = settings_->dryRun ? done() : action(); !back.ok()) {
            output_->warning(back.message);
        }
    }
}

// What waits until the change is certain. The journal knows it until it is done.
Outcome Transaction::carryOutRest() {
    if (!journal_.outstanding.empty() || !journal_.undoes.empty()) {
        journal_.progress = JournalState::Finishing;
        Outcome written = writeJournal();
        if (!written.ok() && !changesFiles()) {
            inPlace_ = false;
            return written;
        }
        if (!written.ok()) {  // the journal that is there leads to the same
            output_->warning(written.message);
        }
    }
    Outcome outcome = doOutstandingOfAll();
    for (const auto& action : afterwards_) {
        if (Outcome acted = action(); !acted.ok()) {
            outcome = acted;
        }
    }
    Outcome told = tellServer();
    return outcome.ok() ? told : outcome;
}

// One graceful reload for all that waits for it, and one wait: an owner can have any number of files that
// bear the name of a log and are asked for slowly.
Outcome Transaction::tellServer() {
    if (afterReload_.empty()) {
        return done();
    }
    const auto master = server_->master(configuration());
    Outcome outcome;
    if (master && settings_->reload) {
        outcome = lookAtOpened();
        outcome = outcome.ok()
                      ? reload({*server_, configuration(), *output_, false, {}, errorLog()}).outcome
                      : outcome;
    }
    const bool told = settings_->reload && outcome.ok();
    const auto until = std::chrono::steady_clock::now() + LongestRequest;
    const LetGo letGo = [&](const std::string& path) {
        return !master || (told && server_->letsGoOf(path, *master, until));
    };
    for (const auto& action : afterReload_) {
        if (Outcome acted = action(letGo); !acted.ok()) {
            outcome = acted;
        }
    }
    return outcome;
}

}  // namespace zpweb
