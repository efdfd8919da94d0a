// The phases of a change, in their order.
#include <exception>
#include <utility>

#include "change/Transaction.h"
#include "phases/Candidates.h"
#include "phases/Commit.h"
#include "phases/Watch.h"
#include "server/Answers.h"
#include "server/Inspection.h"
#include "server/LogLinks.h"
#include "server/SpoiltCertificates.h"
#include "store/Checkpoints.h"
#include "store/Released.h"
#include "store/Unconfirmed.h"
#include "sys/File.h"
#include "sys/GuardedDirectory.h"

namespace zpweb {

namespace {

// Nobody has placed a link on the way to a file that is not the server's.
Outcome waysAreFree(const WorkingSet& set) {
    for (const auto& [path, file] : set.files()) {
        const bool owners = file.changed() && !file.ofServer;
        if (Outcome reached = owners ? reachedWithoutForeignLink(directoryOf(path)) : done();
            !reached.ok()) {
            return reached;
        }
    }
    return done();
}

}  // namespace

bool Transaction::hasEffects() const {
    return changesFiles() || !afterwards_.empty() || !journal_.outstanding.empty();
}

Outcome Transaction::finish(bool& again) {
    try {
        return perform(again);
    } catch (const std::exception& error) {
        // Out of memory, at any moment: what is half in place is the next run's to clear up.
        leftToNext_ = journal_.progress != JournalState::Preparing;
        return failure(std::string("unexpected: ") + error.what() +
                       (leftToNext_ ? "; the next change clears up what this one has left" : ""));
    }
}

Outcome Transaction::perform(bool& again) {
    settings_ = &ownSettings_;
    output_ = &ownOutput_;
    Outcome outcome = shared_.end();
    set_->settle();
    output_->setChanged(hasEffects());
    outcome = !outcome.ok() ? outcome : isEachSeen() ? stage() : failure("one change takes another back");
    outcome = outcome.ok() ? check() : outcome;
    outcome = outcome.ok() ? lookAtOpened() : outcome;
    outcome = outcome.ok() ? fault() : outcome;  // the last moment at which nothing is done
    showDiff();
    if (settings_->dryRun) {
        tellOutstanding();
        output_->setChanged(outcome.ok() && hasEffects());
        return outcome;
    }
    outcome = outcome.ok() ? commitAll(again) : outcome;
    if (again) {
        return outcome;
    }
    outcome = outcome.ok() ? reloadServer() : outcome;
    outcome = outcome.ok() ? carryOutRest() : outcome;
    output_->setChanged(inPlace_);
    output_->setCheckpoint(inPlace_ ? journal_.checkpoint : 0);
    if (hasEffects() && (inPlace_ || members_.empty())) {  // of several, each makes its own try then
        recordAs(outcome);
    }
    tellConfirmation();
    if (inPlace_ && set_->serverChanged()) {
        keepReading(configuration(), set_->files(), state_->reading(), readings_.staged.get());
    }
    if (inPlace_ && !settings_->check && set_->serverChanged()) {
        output_->note("written, not judged");
    }
    if (inPlace_) {
        removeWhole(*state_, journal_);
    }
    tellMembers(outcome);
    pruneCheckpoints(*state_);
    return outcome;
}

Outcome Transaction::stage() {
    Outcome outcome = set_->fault();
    outcome = outcome.ok() ? waysAreFree(*set_) : outcome;
    journal_.files = set_->changedFiles();
    if (!outcome.ok()) {
        return outcome;
    }
    Candidates candidates(*state_);
    outcome = willMake(candidates.place(set_->files()));
    return outcome.ok() ? candidates.make(set_->files()) : outcome;
}

Outcome Transaction::check() {
    output_->setJudged(settings_->check);
    if (!settings_->check || (!set_->serverChanged() && expectations_.empty())) {
        return done();
    }
    output_->step("checking the configuration");
    if (!set_->serverChanged()) {
        return judgeLive({configuration(),
                          set_->files(),
                          {},
                          state_->reading(),
                          asked_,
                          expectations_,
                          *settings_,
                          *output_})
            .outcome;
    }
    // The server looks for the directories of logs. Should it refuse, what was made goes again.
    Outcome made = writePlanned();
    made = made.ok() ? make(std::exchange(making_, {})) : made;
    if (!made.ok()) {
        return made;
    }
    const auto staged = stagedConfiguration(configuration(), set_->files(), state_->stage());
    if (!staged.ok()) {
        return staged.outcome();
    }
    asked_.released = [this] { return releasedNames(*state_); };
    readings_ = judgeStaged({configuration(), set_->files(), *staged, state_->reading(), asked_,
                             expectations_, *settings_, *output_});
    if (readings_.outcome.ok() && readings_.staged != nullptr && !settings_->dryRun) {
        lookAtAnswers();
    }
    if (readings_.outcome.status == Status::Refused) {
        takeBackElse();
    }
    return readings_.outcome;
}

// A reload opens all logs and certificates anew, as root.
Outcome Transaction::lookAtOpened() {
    const bool reloads = set_->serverChanged() || !afterReload_.empty();
    if (!reloads || !settings_->reload || !server_->master(configuration())) {
        return done();
    }
    std::shared_ptr<const Reading> reading = readings_.staged;
    if (reading == nullptr && settings_->check) {
        const std::string& main = configuration().main().path();
        reading = inspect(Program(main), main, {}, {}).reading;
    }
    Outcome outcome =
        reading == nullptr ? done() : certificatesAreSound(*reading, server_->pidFile(configuration()));
    return outcome.ok() && !settings_->allowLogLinks
               ? areTheServers(openedLogs(reading.get(), configuration()))
               : outcome;
}

// What visitors get now, so that a reload that makes it worse is noticed.
void Transaction::lookAtAnswers() {
    std::set<std::string> sites;
    for (const std::string& site : asked_.sites) {
        if (!asked_.moving.contains(site) && !asked_.answersMayChange && !unwatched_.contains(site)) {
            sites.insert(site);
        }
    }
    if (sites.empty() || !settings_->reload || !server_->master(configuration())) {
        return;
    }
    const Answers before = readings_.live != nullptr ? Answers::to(sites, *readings_.live) : Answers();
    prove([this, sites, before] {
        const std::vector<std::string> worse = Answers::to(sites, *readings_.staged).worseThan(before);
        for (const std::string& each : worse) {
            output_->warning(each);
        }
        return worse.empty() || !settings_->strict ? done()
                                                   : failure("an answer got worse: " + worse.front());
    });
}

Committing Transaction::committing() {
    Committing committing{*state_, set_->files(), making_, [this] { return writeJournal(); }, {}, steps_};
    if (settings_->confirmWithin.count() > 0) {
        committing.beforeItStands = [this] {
            const std::time_t deadline = std::time(nullptr) + settings_->confirmWithin.count();
            Outcome added = addUnconfirmed(*state_, {journal_.checkpoint, deadline, settings_->check,
                                                     settings_->reload, settings_->allowLogLinks});
            return added.ok() ? watchFor(state_->configuration, settings_->confirmWithin) : added;
        };
    }
    return committing;
}

Outcome Transaction::commitAll(bool& again) {
    if (Outcome free = waysAreFree(*set_); !free.ok()) {  // the check took its time
        return free;
    }
    if (changesFiles()) {
        output_->step("putting the change in place");
        Outcome committed = noteReleased(*state_, readings_.released);
        committed = committed.ok() ? commit(committing(), journal_, again) : committed;
        if (!committed.ok()) {
            leftToNext_ = journal_.checkpoint != 0;
            return committed;
        }
    }
    inPlace_ = hasEffects();
    return done();
}

}  // namespace zpweb
