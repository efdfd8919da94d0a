// A change, from the lock to its record. Every change of every command takes this way; a dry run stops
// before the last step.
#pragma once

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "change/Configuration.h"
#include "change/FolderTimes.h"
#include "change/Journal.h"
#include "change/Lock.h"
#include "change/Server.h"
#include "change/State.h"
#include "input/Settings.h"
#include "output/Output.h"
#include "sys/Content.h"
#include "sys/Outcome.h"
#include "text/Scope.h"

namespace zpweb {

// One operation of the library on one file of the configuration.
struct Edit {
    std::string file;                                      // the live file; the operation gets a staged one
    size_t bound = 0;                                      // the most characters of a line that it reads
    std::function<Scope(const ConfigurationFile&)> scope;  // what it is asked to change
    std::function<int(const std::string& staged)> operation;
    std::function<Outcome(int result)> meaning;  // of its result
    // Looks at what it has made of its part.
    std::function<Outcome(std::string_view made)> look{};
    // Files and folders that it makes where there are none, outermost first.
    std::vector<std::string> makes{};
    std::vector<std::string> scratch{};  // fixed scratch files that it uses
};

// One operation on files that are not part of the configuration, in a folder that stands in for theirs.
struct OtherEdit {
    std::vector<std::string> files;  // live files; each is staged under its own name
    mode_t mode = 0600;              // of a file that is new
    bool createEmpty = false;        // a file that does not exist is staged empty
    // Gets the folder in which the files are staged.
    std::function<Outcome(const std::string& folder)> operation;
    // Text of the files that names their folder, and what it is while they are staged.
    std::string folderInText;
};

class Transaction {
public:
    Transaction(Settings& settings, Output& output, std::vector<std::string> command);
    ~Transaction();
    Transaction(const Transaction&) = delete;
    Transaction& operator=(const Transaction&) = delete;

    // Lock, recover, read.
    Outcome begin();
    Outcome edit(const Edit& edit);
    Outcome edit(const OtherEdit& edit);
    // Writes down files or folders that are about to be made; those that exist are left out.
    Outcome willMake(const std::vector<std::string>& paths);
    // Replaces a file of the configuration, or another file, whole; absent: the file goes. One that is not
    // there now gets the owner, mode and attributes of `like`.
    Outcome replace(const std::string& path, std::optional<std::string> text, const std::string& like);
    // Something that cannot be staged, done after all that can be refused is done. Not in a dry run.
    void afterwards(std::function<Outcome()> action) { afterwards_.push_back(std::move(action)); }

    // Check, commit, reload, record. `again` is set when the live files have changed meanwhile: nothing was
    // done, and the change can be tried from its beginning.
    Outcome finish(bool& again);
    void abandon();  // leaves everything as it was

    const Configuration& configuration() const { return *configuration_; }
    // A file as it is in this change so far.
    Content contentOf(const std::string& path) const;
    const Settings& settings() const { return settings_; }
    Output& output() { return output_; }
    Server& server() { return *server_; }
    const State& state() const { return *state_; }
    void setUndone(int checkpoint) { journal_.undoes = checkpoint; }

private:
    struct File {
        Content before, after;
        bool ofServer = false;
        mode_t mode = 0600;
        std::string staged;  // the candidate, ready to be renamed
        std::string like{};  // whose attributes it gets when it is new
        bool changed() const { return !before.isSameAs(after); }
    };

    Outcome recover();
    Outcome complete(Journal& journal);
    File& fileAt(const std::string& path);
    Expected<std::string> workFolder() const;
    Outcome run(const std::function<Outcome()>& operation);
    Outcome clearScratch(const Edit& edit, int& result);
    Expected<std::string> runStaged(const Edit& edit, const std::string& part, int& result);
    Outcome stageOthers(const OtherEdit& edit, const std::string& work);
    void takeResult(const std::string& path, Content content);
    Outcome prepare(const Edit& edit);
    Expected<std::string> checkable(const std::string& path, std::map<std::string, std::string>& liveNames);
    bool leadsToChange(const std::string& path, int depth) const;
    std::string candidateOf(const std::string& path, size_t number);
    void leaveTimeOf(const std::string& folder);
    void cleanUp();
    bool serverChanged() const;
    Outcome stageCandidates();
    Outcome takeOverFromKept();
    Outcome check();
    Outcome syncCandidates();
    Outcome writeCheckpoint();
    void dropCheckpoint();
    Outcome putInPlace(const ChangedFile& changed, bool& again);
    Outcome putAllInPlace(bool& again);
    Outcome commit(bool& again);
    Outcome reload();
    Outcome repair(Outcome rolledBack);
    Outcome rollBack(const std::string& reason);
    Outcome putBack();
    Outcome writeJournal();
    Outcome waysAreFree() const;
    Outcome finishEffects();
    std::vector<ChangedFile> changedFiles() const;
    void record(const Outcome& outcome);
    void showDiff();
    void pruneCheckpoints() const;
    std::string described(const std::string& serverOutput,
                          const std::map<std::string, std::string>& liveNames) const;

    Settings& settings_;
    Output& output_;
    std::vector<std::string> command_;
    std::optional<State> state_;
    std::optional<Lock> lock_;
    Descriptor scratchHold_;
    FolderTimes folderTimes_;  // of a dry run
    std::optional<Configuration> configuration_;
    std::optional<Server> server_;
    std::map<std::string, File> files_;
    Journal journal_;
    std::vector<std::function<Outcome()>> afterwards_;
    bool journalWritten_ = false, committed_ = false;
};

}  // namespace zpweb
