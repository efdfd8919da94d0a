// The end of a change: candidates, commit, reload, record.
#include <fcntl.h>
#include <pwd.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>

#include "change/Transaction.h"
#include "sys/File.h"
#include "sys/Hash.h"
#include "sys/Number.h"
#include "sys/Process.h"
#include "text/Difference.h"
#include "text/Patch.h"

namespace zpweb {

namespace {

constexpr size_t CheckpointsKept = 50;

bool onSameFileSystem(const std::string& a, const std::string& b) {
    struct stat first {};
    struct stat second {};
    return ::stat(a.c_str(), &first) == 0 && ::stat(b.c_str(), &second) == 0 &&
           first.st_dev == second.st_dev;
}

std::string now() {
    const std::time_t time = std::time(nullptr);
    std::tm parts{};
    ::gmtime_r(&time, &parts);
    char text[32];
    std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &parts);
    return text;
}

std::string userName() {
    const passwd* entry = ::getpwuid(::getuid());
    return entry != nullptr ? entry->pw_name : std::to_string(::getuid());
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
        if (Outcome written = writeNewFile(file.staged, *file.after, file.mode); !written.ok()) {
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
        if (Outcome kept = keepAs(journal_.files[i].path, folder + "/" + std::to_string(i), *file.before);
            !kept.ok()) {
            return kept;
        }
        const std::string patch = patchOf(*file.before, file.after.value_or(""));
        if (Outcome written = writeNewFile(folder + "/" + std::to_string(i) + ".patch", patch, 0600);
            !written.ok()) {
            return written;
        }
    }
    Json change = journal_.json();
    change["id"] = journal_.checkpoint;
    change["time"] = now();
    change["undoes"] = undone_;
    return writeNewFile(folder + "/change", change.dump(-1, ' ', false, Json::error_handler_t::replace),
                        0600);
}

Outcome Transaction::commit(bool& again) {
    output_.step("putting the change in place");
    journal_.checkpoint = lastCheckpoint(*state_) + 1;
    for (const auto& [path, file] : files_) {
        if (file.changed()) {
            journal_.files.push_back({path, file.before ? contentHash(*file.before) : "",
                                      file.after ? contentHash(*file.after) : ""});
        }
    }
    journal_.committing = true;
    if (Outcome written = writeJournal(); !written.ok()) {
        return written;
    }
    for (const ChangedFile& changed : journal_.files) {
        const File& file = files_.at(changed.path);
        if (file.after) {
            if (Outcome synced = sync(file.staged); !synced.ok()) {
                return synced;
            }
        }
        if (currentHash(changed.path) != changed.before) {
            again = true;
            return failure(changed.path + ": somebody else has changed it meanwhile");
        }
    }
    if (Outcome kept = writeCheckpoint(); !kept.ok()) {
        removeTree(state_->checkpoint(journal_.checkpoint));
        return kept;
    }
    for (const ChangedFile& changed : journal_.files) {
        const File& file = files_.at(changed.path);
        const bool inPlace = file.after ? ::rename(file.staged.c_str(), changed.path.c_str()) == 0
                                        : ::unlink(changed.path.c_str()) == 0;
        if (!inPlace) {
            Outcome failed = failure(systemError(changed.path));
            Outcome back = putBack();
            removeTree(state_->checkpoint(journal_.checkpoint));
            return back.ok() ? failed : back;
        }
        static_cast<void>(sync(folderOf(changed.path)));
    }
    committed_ = true;
    return done();
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

Outcome Transaction::rollBack(const std::string& reason) {
    committed_ = false;
    Outcome back = putBack();
    if (!back.ok()) {
        return {Status::RolledBack, reason + "; " + back.message};
    }
    removeTree(state_->checkpoint(journal_.checkpoint));
    journal_.checkpoint = 0;
    return {Status::RolledBack, reason + "; the old configuration is back"};
}

Outcome Transaction::reload() {
    if (!serverChanged() || !settings_.reload) {
        return done();
    }
    const auto master = server_->master(*configuration_);
    if (!master) {
        output_.note("the server is not running with this configuration; nothing to reload");
        return done();
    }
    output_.step("reloading the server");
    if (const std::string obstacle = server_->obstacle(*configuration_, *master); !obstacle.empty()) {
        return rollBack("the server could not reload: " + obstacle);
    }
    Outcome reloaded = server_->reload(*configuration_, *master);
    if (reloaded.ok()) {
        return reloaded;
    }
    Outcome back = rollBack(reloaded.message);
    auto old = Configuration::load(configuration_->main().path());
    if (!old.ok()) {
        return back;
    }
    // A server that has ended serves nobody: it is started. One that runs is never restarted.
    const auto alive = server_->master(*old);
    Outcome repaired = alive ? server_->reload(*old, *alive) : server_->start();
    const bool started = !alive || (!repaired.ok() && !server_->master(*old));
    if (alive && started) {
        repaired = server_->start();
    }
    back.message += repaired.ok() ? (started ? ", and the server, which had ended, is started with it"
                                             : ", and the server has reloaded it")
                                  : ", but: " + repaired.message;
    return back;
}

void Transaction::record(const Outcome& outcome) {
    Json files = Json::array();
    for (const auto& [path, file] : files_) {
        if (file.changed()) {
            files.push_back({{"file", path},
                             {"before", file.before ? contentHash(*file.before) : ""},
                             {"after", committed_ && file.after ? contentHash(*file.after)
                                       : file.before            ? contentHash(*file.before)
                                                                : ""}});
        }
    }
    const char* sudo = std::getenv("SUDO_USER");
    Json entry = {{"time", now()}, {"user", userName()}};
    if (sudo != nullptr) {
        entry["login"] = sudo;
    }
    entry["command"] = command_;
    entry["result"] = nameOf(outcome.status);
    entry["exit"] = static_cast<int>(outcome.status);
    entry["changed"] = committed_;
    entry["files"] = files;
    entry["checkpoint"] = journal_.checkpoint == 0 ? Json() : Json(journal_.checkpoint);
    if (undone_ != 0) {
        entry["undoes"] = undone_;
    }
    if (!outcome.message.empty()) {
        entry["message"] = outcome.message;
    }
    const Outcome written =
        appendLine(state_->audit(), entry.dump(-1, ' ', false, Json::error_handler_t::replace), 0600);
    if (!written.ok()) {
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

// What stands in a password file is nobody's to see.
void Transaction::showDiff() {
    for (const auto& [path, file] : files_) {
        if (!settings_.diff || !file.changed()) {
            continue;
        }
        if (nameOf(path).find("passwd") != std::string::npos) {
            output_.addDiff("--- " + path + "\n+++ " + path +
                            "\n(a password file: its lines are not shown)\n");
        } else {
            output_.addDiff(unifiedDiff(path, file.before.value_or(""), file.after.value_or("")));
        }
    }
}

Outcome Transaction::finish(bool& again) {
    const bool changed =
        std::any_of(files_.begin(), files_.end(), [](const auto& entry) { return entry.second.changed(); });
    const bool effects = changed || !afterwards_.empty() || !journal_.outstanding.empty();
    output_.setChanged(effects);
    Outcome outcome = changed ? stageCandidates() : done();
    if (outcome.ok() && settings_.check && serverChanged()) {
        outcome = check();
    }
    showDiff();
    if (outcome.ok() && settings_.dryRun) {
        return outcome;
    }
    if (outcome.ok() && changed) {
        outcome = commit(again);
        if (again) {
            return outcome;
        }
    }
    if (outcome.ok() && changed) {
        outcome = reload();
    }
    if (outcome.ok()) {
        committed_ = committed_ || effects;
        for (const auto& words : journal_.outstanding) {
            output_.detail(runProgram(words).output);
        }
        for (const auto& action : afterwards_) {
            if (Outcome acted = action(); !acted.ok()) {
                outcome = acted;
            }
        }
    }
    output_.setChanged(committed_);
    if (effects) {
        record(outcome);
    }
    pruneCheckpoints();
    return outcome;
}

}  // namespace zpweb
