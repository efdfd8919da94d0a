#include "change/Transaction.h"

#include <sys/stat.h>

#include <algorithm>
#include <exception>

#include "change/Deferred.h"
#include "conf/Text.h"
#include "sys/File.h"
#include "sys/Hash.h"
#include "sys/Process.h"

namespace zpweb {

Transaction::Transaction(Settings& settings, Output& output, std::vector<std::string> command)
    : settings_(settings), output_(output), command_(std::move(command)) {}

Transaction::~Transaction() { abandon(); }

Outcome Transaction::begin() {
    const auto main = realPathOf(settings_.configuration);
    if (!main.ok()) {
        return main.outcome();
    }
    state_.emplace(*main);
    server_.emplace(*main, [this] { output_.stillWorking(); });
    for (const std::string& folder : {folderOf(*main), state_->folder}) {
        leaveTimeOf(folder);
    }
    auto lock =
        Lock::take(*state_, settings_.lockTimeout, [this](const std::string& text) { output_.note(text); });
    if (!lock.ok()) {
        return lock.outcome();
    }
    lock_ = std::move(*lock);
    if (Outcome recovered = recover(); !recovered.ok()) {
        return recovered;
    }
    output_.step("reading the configuration");
    auto configuration = Configuration::load(*main);
    if (!configuration.ok()) {
        return configuration.outcome();
    }
    configuration_ = std::move(*configuration);
    for (const std::string& word : command_) {
        journal_.command += (journal_.command.empty() ? "" : " ") + word;
    }
    return makeFolder(state_->stage(), 0700);
}

Transaction::File& Transaction::fileAt(const std::string& path) {
    const auto [entry, fresh] = files_.try_emplace(path);
    File& file = entry->second;
    if (fresh) {
        const ConfigurationFile* known = configuration_->file(path);
        file.ofServer = known != nullptr;
        if (known != nullptr) {
            file.before = known->text();
        } else if (auto text = readFile(path); text.ok()) {
            file.before = std::move(*text);
        }
        file.after = file.before;
    }
    return file;
}

void Transaction::takeResult(File& file, const std::string& path, std::string text) {
    if (file.ofServer) {
        configuration_->replace(path, text);
    }
    file.after = std::move(text);
}

Expected<std::string> Transaction::runStaged(const Edit& edit, const std::string& part, int& result) {
    const std::string work = state_->stage() + "/work";
    const std::string staged = work + "/" + nameOf(edit.file);
    removeTree(work);
    if (Outcome made = makeFolder(work, 0700); !made.ok()) {
        return made;
    }
    if (Outcome written = writeNewFile(staged, part, 0600); !written.ok()) {
        return written;
    }
    std::string printed;
    Outcome thrown;
    {
        const DeferredCommands deferred(state_->stage() + "/work/commands");
        Capture capture;
        lock_->setInheritable(true);
        try {
            result = edit.operation(staged);
        } catch (const std::exception& exception) {
            thrown = failure(std::string("the operation failed: ") + exception.what());
        }
        lock_->setInheritable(false);
        printed = capture.end();
        for (auto& words : deferred.taken()) {
            journal_.outstanding.push_back(std::move(words));
        }
    }
    output_.detail(printed);
    if (!thrown.ok()) {
        return thrown;
    }
    // An operation moves its scratch file away when it is done. One that is still there could not be moved.
    for (const std::string& scratch : edit.scratch) {
        if (exists(scratch)) {
            removeTree(scratch);
            result = result == 0 ? -1 : result;
            if (edit.meaning(result).ok()) {
                return failure(scratch + ": could not be moved to " + folderOf(staged));
            }
        }
    }
    return readFile(staged);
}

Outcome Transaction::edit(const Edit& edit) {
    const ConfigurationFile* current = configuration_->file(edit.file);
    if (current == nullptr) {
        return failure(Status::NotFound, edit.file + ": not a file of this configuration");
    }
    File& file = fileAt(edit.file);
    if (const LongLine line = firstLongLine(current->text(), edit.bound)) {
        return failure(edit.file + ":" + std::to_string(line.number) + ": the line has " +
                       std::to_string(line.length) + " characters, more than the " +
                       std::to_string(edit.bound) + " that this operation reads; shorten it first");
    }
    if (!edit.scratch.empty() && !scratchHold_.isOpen()) {
        scratchHold_ = Lock::holdFolder(folderOf(edit.scratch.front()));
    }
    journal_.scratch.insert(journal_.scratch.end(), edit.scratch.begin(), edit.scratch.end());
    for (const std::string& scratch : edit.scratch) {
        leaveTimeOf(folderOf(scratch));
    }
    if (Outcome noted = willMake(edit.makes); !noted.ok()) {
        return noted;
    }
    output_.step("staging the change");
    const Lines& lines = current->lines();
    const Scope scope = settings_.exact ? Scope{} : edit.scope(*current);
    const std::string part = settings_.exact ? current->text() : partOf(lines, scope);
    int result = 0;
    const auto after = runStaged(edit, part, result);
    if (!after.ok()) {
        return after.outcome();
    }
    if (Outcome meant = edit.meaning(result); !meant.ok()) {
        return meant;
    }
    if (*after != part) {
        takeResult(file, edit.file, settings_.exact ? *after : merged(lines, scope, *after));
    }
    return done();
}

namespace {

std::string replaced(std::string text, const std::string& what, const std::string& with) {
    for (size_t at = 0; !what.empty() && (at = text.find(what, at)) != std::string::npos;
         at += with.size()) {
        text.replace(at, what.size(), with);
    }
    return text;
}

bool isLink(const std::string& path) {
    struct stat status {};
    return ::lstat(path.c_str(), &status) == 0 && S_ISLNK(status.st_mode);
}

}  // namespace

Outcome Transaction::edit(const OtherEdit& edit) {
    const std::string work = state_->stage() + "/work";
    removeTree(work);
    if (Outcome made = makeFolder(work, 0700); !made.ok()) {
        return made;
    }
    for (const std::string& path : edit.files) {
        if (isLink(path)) {
            return failure(path + ": a symbolic link; it is not followed");
        }
        File& file = fileAt(path);
        file.mode = edit.mode;
        if (!file.after && !edit.createEmpty) {
            continue;
        }
        const std::string text = replaced(file.after.value_or(""), edit.folderInText, work);
        if (Outcome written = writeNewFile(work + "/" + nameOf(path), text, 0600); !written.ok()) {
            return written;
        }
    }
    Outcome outcome;
    std::string printed;
    {
        Capture capture;
        lock_->setInheritable(true);
        outcome = edit.operation(work);
        lock_->setInheritable(false);
        printed = capture.end();
    }
    output_.detail(printed);
    if (!outcome.ok()) {
        return outcome;
    }
    for (const std::string& path : edit.files) {
        File& file = fileAt(path);
        auto text = readFile(work + "/" + nameOf(path));
        struct stat status {};
        if (!file.before && ::stat((work + "/" + nameOf(path)).c_str(), &status) == 0) {
            file.mode = std::max<mode_t>(status.st_mode & 0777, edit.mode);
        }
        file.after =
            text.ok() ? std::optional(replaced(std::move(*text), work, edit.folderInText)) : std::nullopt;
    }
    return done();
}

Outcome Transaction::willMake(const std::vector<std::string>& paths) {
    bool added = false;
    for (const std::string& path : paths) {
        if (!exists(path)) {
            journal_.made.push_back(path);
            leaveTimeOf(folderOf(path));
            added = true;
        }
    }
    const bool needed = added || !journal_.scratch.empty();
    return needed ? writeJournal() : done();
}

Outcome Transaction::replace(const std::string& path, std::optional<std::string> text, mode_t mode) {
    File& file = fileAt(path);
    file.mode = mode;
    if (text) {
        takeResult(file, path, std::move(*text));
    } else {
        file.after.reset();
    }
    return done();
}

Outcome Transaction::writeJournal() {
    journalWritten_ = true;
    Outcome written = replaceFile(
        state_->journal(), journal_.json().dump(-1, ' ', false, Json::error_handler_t::replace), 0600);
    return written.ok() ? written : failure("cannot write the journal: " + written.message);
}

// A dry run leaves the folder's time as it was.
void Transaction::leaveTimeOf(const std::string& folder) {
    if (settings_.dryRun) {
        folderTimes_.remember(folder);
    }
}

void Transaction::cleanUp() {
    removeTree(state_->stage());
    for (const std::string& scratch : journal_.scratch) {
        removeTree(scratch);
    }
    if (journalWritten_) {
        ::unlink(state_->journal().c_str());
        journalWritten_ = false;
    }
}

void Transaction::abandon() {
    if (!lock_) {
        return;
    }
    if (!committed_) {
        removeMade(journal_.made);
    }
    cleanUp();
    if (lock_->madeFolder() && !committed_) {
        lock_->removeTraces(*state_);
    }
    folderTimes_.restore();
    lock_.reset();
    scratchHold_.close();
}

}  // namespace zpweb
