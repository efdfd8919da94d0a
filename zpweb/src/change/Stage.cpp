// Operations, each on a staged copy of what it works on.
#include <sys/stat.h>

#include <algorithm>
#include <exception>

#include "change/Deferred.h"
#include "change/Transaction.h"
#include "sys/File.h"
#include "sys/GuardedFolder.h"
#include "sys/Process.h"

namespace zpweb {

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

// A folder to work in, empty.
Expected<std::string> Transaction::workFolder() const {
    const std::string work = state_->stage() + "/work";
    removeTree(work);
    Outcome made = makeFolder(work, 0700);
    return made.ok() ? Expected(work) : Expected<std::string>(made);
}

// What an operation prints goes to the details; its children hold the lock as long as they live.
Outcome Transaction::run(const std::function<Outcome()>& operation) {
    Outcome outcome;
    Capture capture;
    lock_->setInheritable(true);
    try {
        outcome = operation();
    } catch (const std::exception& exception) {
        outcome = failure(std::string("the operation failed: ") + exception.what());
    }
    lock_->setInheritable(false);
    output_.detail(capture.end());
    return outcome;
}

// An operation moves its scratch file away when it is done. One that is still there could not be moved.
Outcome Transaction::clearScratch(const Edit& edit, int& result) {
    for (const std::string& scratch : edit.scratch) {
        if (exists(scratch)) {
            removeTree(scratch);
            result = result == 0 ? -1 : result;
            if (edit.meaning(result).ok()) {
                return failure(scratch + ": could not be moved into the stage");
            }
        }
    }
    return done();
}

Expected<std::string> Transaction::runStaged(const Edit& edit, const std::string& part, int& result) {
    const auto work = workFolder();
    if (!work.ok()) {
        return work.outcome();
    }
    const std::string staged = *work + "/" + nameOf(edit.file);
    if (Outcome written = writeNewFile(staged, part, 0600); !written.ok()) {
        return written;
    }
    const DeferredCommands deferred(*work + "/commands");
    Outcome outcome = run([&] {
        result = edit.operation(staged);
        return done();
    });
    for (auto& words : deferred.taken()) {
        journal_.outstanding.push_back(std::move(words));
    }
    outcome = outcome.ok() ? clearScratch(edit, result) : outcome;
    return outcome.ok() ? readFile(staged) : outcome;
}

Outcome Transaction::stageOthers(const OtherEdit& edit, const std::string& work) {
    for (const std::string& path : edit.files) {
        if (isLink(path)) {
            return failure(path + ": a symbolic link; it is not followed");
        }
        if (Outcome reached = reachedWithoutForeignLink(folderOf(path)); !reached.ok()) {
            return reached;
        }
        File& file = fileAt(path);
        file.mode = edit.mode;
        if (!file.after && !edit.createEmpty) {
            continue;
        }
        const std::string text = replaced(file.after.text(), edit.folderInText, work);
        if (Outcome written = writeNewFile(work + "/" + nameOf(path), text, 0600); !written.ok()) {
            return written;
        }
    }
    return done();
}

Outcome Transaction::edit(const OtherEdit& edit) {
    const auto work = workFolder();
    if (!work.ok()) {
        return work.outcome();
    }
    Outcome outcome = stageOthers(edit, *work);
    outcome = outcome.ok() ? run([&] { return edit.operation(*work); }) : outcome;
    if (!outcome.ok()) {
        return outcome;
    }
    for (const std::string& path : edit.files) {
        const std::string staged = *work + "/" + nameOf(path);
        File& file = fileAt(path);
        auto text = readFile(staged);
        struct stat status {};
        if (!file.before && ::stat(staged.c_str(), &status) == 0) {
            file.mode = std::max<mode_t>(status.st_mode & 0777, edit.mode);
        }
        if (text.ok()) {
            takeResult(path, Content(replaced(std::move(*text), *work, edit.folderInText)));
        } else {
            file.after = Content();
        }
    }
    return done();
}

}  // namespace zpweb
