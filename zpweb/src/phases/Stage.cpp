#include "phases/Stage.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <exception>
#include <set>
#include <sstream>
#include <utility>

#include "host/HeldDirectory.h"
#include "host/Machine.h"
#include "host/Paths.h"
#include "sys/File.h"
#include "sys/Process.h"

namespace zpweb {

namespace {

namespace host = zp::host;
using host::Effect;

// The machine of a stage. It lives as long as the run.
class StageMachine {
public:
    StageMachine(std::string work, StagedRun& run) : work_(std::move(work)), run_(run) {}

    host::Machine machine() {
        host::Machine machine = host::machine();
        machine.run = [](const std::vector<std::string>&) {};  // it would work on what is live
        machine.runUnseen = [this](const std::string& command) { return runPasswordTool(command); };
        machine.firstLine = [usual = machine.firstLine](const std::string& command, size_t limit) {
            return answerTo(command, usual, limit);
        };
        machine.move = [this](const std::string& from, const std::string& to) { return move(from, to); };
        machine.copy = [this](const std::string& from, const std::string& to) { copy(from, to); };
        machine.scratch = [this](const std::string& path) { return placeOf(path); };
        machine.effect = [this](const Effect& effect) { return note(effect); };
        machine.out = [this]() -> std::ostream& { return printed_; };
        return machine;
    }
    Outcome end(Outcome outcome) {
        run_.printed += printed_.str();
        return outcome.ok() ? fault_ : outcome;
    }

private:
    // It works on files of the stage.
    host::Ran runPasswordTool(const std::string& command) {
        if (!command.starts_with(host::program::PasswordTool)) {
            return host::Ran::NotStarted;
        }
        const Finished finished = runProgram({"/bin/sh", "-c", command});
        printed_ << finished.output;
        if (finished.status < 0) {
            return host::Ran::NotStarted;
        }
        if (finished.status != 0) {
            fault_ = failure("htpasswd failed: " + finished.output);
            return host::Ran::Failed;
        }
        return host::Ran::Done;
    }
    bool move(const std::string& from, const std::string& to) {
        const bool moved = std::rename(from.c_str(), to.c_str()) == 0;
        if (!moved) {
            fault_ = failure("could not be moved into the stage: " + systemError(from));
        }
        return moved;
    }
    void copy(const std::string& from, const std::string& to) {
        const auto text = readFile(from);
        removeTree(to);
        Outcome copied = text.ok() ? writeNewFile(to, *text, 0600) : text.outcome();
        fault_ = copied.ok() ? fault_ : copied;
    }
    std::string placeOf(const std::string& path) const {
        return path.starts_with(work_ + "/") ? path : work_ + "/scratch-" + nameOf(path);
    }
    // One that an undo has left because there was something in it is taken as it is. Another one of root's
    // would be opened to others by it.
    static bool takesOwnDirectory(Effect& effect) {
        struct stat status {};
        const bool isThere = effect.step == Effect::Step::MakeDirectory &&
                             ::lstat(effect.path.c_str(), &status) == 0 && S_ISDIR(status.st_mode) &&
                             status.st_uid == effect.user.value_or(::geteuid());
        if (!isThere || (status.st_uid == ::geteuid() && (status.st_mode & 07777) != effect.mode)) {
            return false;
        }
        effect.inode = status.st_ino;
        return true;
    }
    // What may be given is the very one that is looked at.
    static bool mayBeGiven(Effect& effect) {
        const auto parent = host::HeldDirectory::hold(directoryOf(effect.path));
        const auto directory = host::HeldDirectory::hold(effect.path);
        struct stat status {};
        if (!parent || !directory || ::fstat(directory->descriptor(), &status) != 0) {
            return false;
        }
        effect.inode = status.st_ino;
        return !host::mayBeMovedInto(*parent, directory->descriptor());
    }
    // What is made twice, or where something else stands, cannot be made.
    bool note(Effect effect) {
        const bool isThere = exists(effect.path) || planned_.contains(effect.path);
        if (effect.step == Effect::Step::MakeFile && isThere) {
            return true;
        }
        if (effect.step == Effect::Step::ProvideDirectory && exists(effect.path) && !mayBeGiven(effect)) {
            return false;
        }
        if (effect.step == Effect::Step::ProvideDirectory || takesOwnDirectory(effect)) {
            effect.step = isThere ? Effect::Step::GiveAccess : Effect::Step::MakeDirectory;
        }
        const bool directory = effect.step == Effect::Step::MakeDirectory;
        if (directory && (exists(effect.path) || !planned_.insert(effect.path).second)) {
            return false;
        }
        run_.effects.push_back(effect);
        return true;
    }
    // The server's control script makes directories of its own before it answers; the server does not.
    static std::string answerTo(const std::string& command,
                                const std::function<std::string(const std::string&, size_t)>& usual,
                                size_t limit) {
        if (command != host::program::VersionQueries[0]) {
            return usual(command, limit);
        }
        static const std::string answer = serversVersion();
        return answer.empty() ? usual(command, limit) : answer.substr(0, limit);
    }
    static std::string serversVersion() {
        for (const char* program : {"apache2", "httpd", "/usr/sbin/apache2", "/usr/sbin/httpd"}) {
            const Finished finished = runProgram({program, "-v"});
            if (finished.ok()) {
                return finished.output.substr(0, finished.output.find('\n') + 1);
            }
        }
        return {};
    }

    const std::string work_;
    StagedRun& run_;
    std::ostringstream printed_;
    std::set<std::string> planned_;
    Outcome fault_;
};

}  // namespace

Outcome runStaged(const std::string& work, const std::function<Outcome()>& operation, StagedRun& run) {
    StageMachine stage(work, run);
    const host::MachineInUse scoped(stage.machine());
    try {
        return stage.end(operation());
    } catch (const std::exception& exception) {
        return stage.end(failure(std::string("the operation failed: ") + exception.what()));
    }
}

Outcome emptyDirectory(const std::string& path) {
    const auto entries = listed(path);
    if (!entries.ok()) {
        return entries.outcome().status == Status::NotFound ? createDirectory(path, 0700)
                                                            : entries.outcome();
    }
    for (const std::string& name : *entries) {
        removeTree(path + "/" + name);
        if (exists(path + "/" + name)) {  // the next operation would take it for its own
            return failure(path + "/" + name + ": cannot be removed");
        }
    }
    return done();
}

}  // namespace zpweb
