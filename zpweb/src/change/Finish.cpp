// The end of a change: from its check to its record.
#include <pwd.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>

#include "change/Clock.h"
#include "change/Deferred.h"
#include "change/Transaction.h"
#include "sys/File.h"
#include "sys/GuardedFolder.h"
#include "text/Difference.h"

namespace zpweb {

namespace {

constexpr size_t CheckpointsKept = 50;

std::string userName() {
    const passwd* entry = ::getpwuid(::getuid());
    return entry != nullptr ? entry->pw_name : std::to_string(::getuid());
}

}  // namespace

std::vector<ChangedFile> Transaction::changedFiles() const {
    std::vector<ChangedFile> changed;
    for (const auto& [path, file] : files_) {
        if (file.changed()) {
            changed.push_back({path, file.before.hash(), file.after.hash()});
        }
    }
    return changed;
}

// A line of the log: who did what, and what came of it.
void Transaction::record(const Outcome& outcome) {
    std::string files;
    for (const ChangedFile& file : journal_.files.empty() ? changedFiles() : journal_.files) {
        files += files.empty() ? "{" : ",{";
        appendMember(files, "file", file.path, true);
        appendMember(files, "before", file.before);
        appendMember(files, "after", committed_ ? file.after : file.before);
        files += '}';
    }
    std::string line = "{";
    appendMember(line, "time", timeNow(), true);
    appendMember(line, "user", userName());
    if (const char* login = std::getenv("SUDO_USER"); login != nullptr) {
        appendMember(line, "login", login);
    }
    appendMember(line, "command", journal_.words);
    appendMember(line, "result", nameOf(outcome.status));
    appendMember(line, "exit", static_cast<int>(outcome.status));
    appendMember(line, "changed", committed_);
    appendMember(line, "files", JsonText{"[" + files + "]"});
    appendMember(line, "checkpoint", journal_.checkpoint == 0 ? Value() : Value(journal_.checkpoint));
    if (journal_.undoes != 0) {
        appendMember(line, "undoes", journal_.undoes);
    }
    if (!outcome.message.empty()) {
        appendMember(line, "message", outcome.message);
    }
    if (Outcome written = appendLine(state_->audit(), line + "}", 0600); !written.ok()) {
        output_.warning("the change is not in the log: " + written.message);
    }
}

void Transaction::pruneCheckpoints() const {
    std::vector<std::string> names = entriesOf(state_->checkpoints());
    while (names.size() > CheckpointsKept) {
        removeTree(state_->checkpoints() + "/" + names.front());
        names.erase(names.begin());
    }
}

void Transaction::showDiff() {
    for (const auto& [path, file] : files_) {
        if (settings_.diff && file.changed()) {
            output_.addDiff(shownDiff(path, file.before.text(), file.after.text()));
        }
    }
}

// What waits until the change is certain.
Outcome Transaction::finishEffects() {
    for (const auto& words : journal_.outstanding) {
        if (Outcome carried = carryOut(words); !carried.ok()) {
            output_.warning(carried.message);
        }
    }
    Outcome outcome;
    for (const auto& action : afterwards_) {
        if (Outcome acted = action(); !acted.ok()) {
            outcome = acted;
        }
    }
    return outcome;
}

// Nobody has placed a link on the way to a file that is not the server's.
Outcome Transaction::waysAreFree() const {
    for (const auto& [path, file] : files_) {
        const bool owners = file.changed() && !file.ofServer;
        if (Outcome reached = owners ? reachedWithoutForeignLink(folderOf(path)) : done(); !reached.ok()) {
            return reached;
        }
    }
    return done();
}

Outcome Transaction::finish(bool& again) {
    const bool changed =
        std::any_of(files_.begin(), files_.end(), [](const auto& entry) { return entry.second.changed(); });
    const bool effects = changed || !afterwards_.empty() || !journal_.outstanding.empty();
    output_.setChanged(effects);
    Outcome outcome = waysAreFree();
    outcome = outcome.ok() && changed ? stageCandidates() : outcome;
    outcome = outcome.ok() ? takeOverFromKept() : outcome;
    if (outcome.ok() && settings_.check && serverChanged()) {
        outcome = check();
    }
    showDiff();
    if (settings_.dryRun) {
        output_.setChanged(outcome.ok() && effects);
        return outcome;
    }
    outcome = outcome.ok() ? waysAreFree() : outcome;  // the check took its time
    if (outcome.ok() && changed) {
        outcome = commit(again);
        if (again) {
            return outcome;
        }
        outcome = outcome.ok() ? reload() : outcome;
    }
    if (outcome.ok()) {
        committed_ = committed_ || effects;
        outcome = finishEffects();
    }
    output_.setChanged(committed_);
    if (effects) {
        record(outcome);
    }
    pruneCheckpoints();
    return outcome;
}

}  // namespace zpweb
