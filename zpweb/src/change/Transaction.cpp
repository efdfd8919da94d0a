#include "change/Transaction.h"

#include <unistd.h>

#include <algorithm>

#include "phases/Recover.h"
#include "server/ConditionalLines.h"
#include "server/LiveReading.h"
#include "store/AuditLog.h"
#include "store/Migration.h"
#include "sys/File.h"
#include "sys/GuardedDirectory.h"
#include "text/Words.h"

namespace zpweb {

Transaction::Transaction(const Settings& settings, Output& output, std::vector<std::string> command)
    : settings_(&settings),
      output_(&output),
      ownSettings_(settings),
      ownOutput_(output),
      command_(std::move(command)) {}

Transaction::~Transaction() { abandon(); }

Outcome Transaction::begin(std::shared_ptr<Lock> held) {
    const auto main = realPathOf(settings_->configuration);
    if (!main.ok()) {
        return main.outcome();
    }
    state_.emplace(*main);
    server_.emplace(*main, std::function<void()>());
    for (const std::string& directory :
         {directoryOf(*main), directoryOf(state_->directory), state_->directory}) {
        leaveTimeOf(directory);
    }
    if (held == nullptr) {
        auto lock = Lock::take(
            *state_, {settings_->lockTimeout, [this](const std::string& text) { output_->note(text); }});
        if (!lock.ok()) {
            return lock.outcome();
        }
        held = std::make_shared<Lock>(std::move(*lock));
    }
    Outcome ready = settings_->dryRun ? done() : moveFromBefore(*state_, *output_);
    ready = ready.ok() ? recover(*state_, *output_, settings_->dryRun) : ready;
    if (!ready.ok()) {
        return ready;
    }
    lock_ = std::move(held);
    output_->step("reading the configuration");
    auto configuration = Configuration::load(*main);
    if (!configuration.ok()) {
        return configuration.outcome();
    }
    if (settings_->check) {
        decideConditions(*configuration, state_->reading());
    }
    set_.emplace(std::move(*configuration));
    journal_.configuration = *main;
    journal_.words = command_;
    journal_.label = settings_->label;
    journal_.command = joinedWords(command_);
    journal_.login = loginName();
    return createDirectory(state_->stage(), 0700);
}

void Transaction::planToMake(const std::vector<std::string>& paths) {
    for (const std::string& path : paths) {
        if (!planned_.contains(path) && !exists(path)) {
            planned_.insert(path);
            journal_.made.push_back(path);
            leaveTimeOf(directoryOf(path));
            journalBehind_ = true;
        }
    }
}

Outcome Transaction::willMake(const std::vector<std::string>& paths) {
    planToMake(paths);
    return writePlanned();
}

const Reading* Transaction::live() const {
    if (!live_) {
        live_ = settings_->check ? liveReading(configuration(), state_->reading()) : nullptr;
    }
    return live_->get();
}

// The journal tells what is made before it is.
Outcome Transaction::writePlanned() { return journalBehind_ ? writeJournal() : done(); }

void Transaction::release(const std::string& site, const std::string& about) {
    auto each = expectations_.lower_bound({site, about});
    while (each != expectations_.end() && each->first.first == site &&
           each->first.second.starts_with(about)) {
        each = expectations_.erase(each);
    }
}

void Transaction::temporary(const std::string& path) {
    journal_.temporary.push_back(path);
    leaveTimeOf(directoryOf(path));
    journalBehind_ = true;
}

Outcome Transaction::writeJournal() {
    journalWritten_ = true;
    journalBehind_ = false;
    Outcome written = replaceFile(state_->journal(), journal_.text(), 0600);
    return written.ok() ? written : failure("cannot write the journal: " + written.message);
}

// A dry run leaves the directory's time as it was.
void Transaction::leaveTimeOf(const std::string& directory) {
    if (settings_->dryRun) {
        directoryTimes_.remember(directory);
    }
}

void Transaction::abandon() {
    if (!lock_) {
        return;
    }
    for (const std::string& path : journal_.temporary) {
        static_cast<void>(removeFile(path));
    }
    if (!leftToNext_) {
        if (inPlace_) {
            removeLeftovers(journal_);
        } else {
            removeMade(journal_.made);
        }
        removeTree(state_->stage());
        if (journalWritten_) {
            ::unlink(state_->journal().c_str());
            static_cast<void>(sync(state_->directory));
        }
    }
    if (lock_.use_count() == 1 && lock_->madeDirectory() && !inPlace_ && !leftToNext_) {
        lock_->removeTraces(*state_);
    }
    directoryTimes_.restore();
    lock_.reset();
}

}  // namespace zpweb
