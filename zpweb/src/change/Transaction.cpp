#include "change/Transaction.h"

#include "sys/File.h"
#include "text/Keep.h"

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
    server_.emplace(*main, std::function<void()>());
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
    journal_.words = command_;
    for (const std::string& word : command_) {
        journal_.command += (journal_.command.empty() ? "" : " ") + word;
    }
    return makeFolder(state_->stage(), 0700);
}

Content Transaction::contentOf(const std::string& path) const {
    if (const auto touched = files_.find(path); touched != files_.end()) {
        return touched->second.after;
    }
    if (const ConfigurationFile* known = configuration_->file(path); known != nullptr) {
        return known->content();
    }
    auto text = readFile(path);
    return text.ok() ? Content(std::move(*text)) : Content();
}

Transaction::File& Transaction::fileAt(const std::string& path) {
    const auto found = files_.find(path);
    if (found != files_.end()) {
        return found->second;
    }
    const Content content = contentOf(path);
    return files_.emplace(path, File{content, content, configuration_->file(path) != nullptr, 0600, {}})
        .first->second;
}

void Transaction::takeResult(const std::string& path, Content content) {
    File& file = fileAt(path);
    file.after = content.saysTheSameAs(file.before) ? file.before : std::move(content);
    if (file.ofServer) {
        configuration_->replace(path, file.after);
    }
}

// Writes down what an operation is about to leave outside of the stage.
Outcome Transaction::prepare(const Edit& edit) {
    if (!edit.scratch.empty() && !scratchHold_.isOpen()) {
        scratchHold_ = Lock::holdFolder(folderOf(edit.scratch.front()));
    }
    journal_.scratch.insert(journal_.scratch.end(), edit.scratch.begin(), edit.scratch.end());
    for (const std::string& scratch : edit.scratch) {
        leaveTimeOf(folderOf(scratch));
    }
    return willMake(edit.makes);
}

Outcome Transaction::edit(const Edit& edit) {
    const ConfigurationFile* current = configuration_->file(edit.file);
    if (current == nullptr) {
        return failure(Status::NotFound, edit.file + ": not a file of this configuration");
    }
    if (current->longestLine() > edit.bound) {
        return holdsNoLongLine(edit.file, current->lines(), edit.bound);
    }
    if (Outcome prepared = prepare(edit); !prepared.ok()) {
        return prepared;
    }
    output_.step("staging the change");
    const Content before = current->content();
    const Scope scope = settings_.exact ? Scope::additions({}) : edit.scope(*current);
    const std::string part = settings_.exact ? before.text() : scope.partText();
    int result = 0;
    auto after = runStaged(edit, part, result);
    if (!after.ok()) {
        return after.outcome();
    }
    Outcome outcome = edit.meaning(result);
    outcome = outcome.ok() && edit.look ? edit.look(*after) : outcome;
    if (outcome.ok() && *after != part) {
        takeResult(edit.file, settings_.exact ? Content(std::move(*after))
                                              : before.with(scope.text, merged(scope, *after)));
    }
    return outcome;
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

Outcome Transaction::replace(const std::string& path, std::optional<std::string> text,
                             const std::string& like) {
    fileAt(path).like = like;
    if (text) {
        takeResult(path, Content(std::move(*text)));
    } else {
        fileAt(path).after = Content();
    }
    return done();
}

Outcome Transaction::takeOverFromKept() {
    for (const auto& [path, file] : files_) {
        if (file.before || file.like.empty() || file.staged.empty()) {
            continue;
        }
        if (Outcome same = takeOverAttributes(file.like, file.staged); !same.ok()) {
            return same;
        }
    }
    return done();
}

Outcome Transaction::writeJournal() {
    journalWritten_ = true;
    Outcome written = replaceFile(state_->journal(), journal_.text(), 0600);
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
