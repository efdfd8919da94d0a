// A change, from the lock to its record. Every change of every command takes this way; a dry run stops
// before the commit.
//
// Commands stage: they edit, replace, link and make, and see what those before them have made. Nothing of
// it is in its place before `finish`, which orders the phases; docs/safety.md tells them in the same order.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <unordered_set>
#include <utility>
#include <vector>

#include "change/DirectoryTimes.h"
#include "change/Edit.h"
#include "change/Shared.h"
#include "change/WorkingSet.h"
#include "host/Effect.h"
#include "input/Settings.h"
#include "output/Output.h"
#include "phases/Check.h"
#include "phases/Commit.h"
#include "phases/Judged.h"
#include "phases/Stage.h"
#include "server/Server.h"
#include "store/Journal.h"
#include "store/Lock.h"
#include "store/State.h"
#include "sys/Faults.h"
#include "sys/Outcome.h"

namespace zpweb {

// Waits until no process of the server has the file open any more; false when that did not come to pass.
using LetGo = std::function<bool(const std::string& path)>;

// One of several runs whose changes are made as one.
struct Member {
    const Settings& settings;
    Output& output;
    std::vector<std::string> words;
    std::string login, request;  // see Journal
    // It is certain what has become of it: done before the journal goes.
    std::function<void(const Outcome&)> tell;
    Outcome outcome{};  // of what is outstanding
};

class Transaction {
public:
    Transaction(const Settings& settings, Output& output, std::vector<std::string> command);
    ~Transaction();  // abandons what is not finished
    Transaction(const Transaction&) = delete;
    Transaction& operator=(const Transaction&) = delete;

    // Lock, recover, read. A lock that is held already is used, and not given back before its owner does.
    Outcome begin(std::shared_ptr<Lock> held = {});

    // --- several runs' changes as one (see Members.cpp) ---

    // What is staged from here on is this one's.
    void beginMember(Member member);
    // False: it has asked for what cannot be done for several at once.
    bool endMember();
    // Leaves out the one that was begun; false: it has staged something, and the change must be made anew.
    bool dropMember();
    // What was asked for is in place.
    bool stands() const { return inPlace_; }

    // --- staging ---

    Outcome edit(const Edit& edit);
    Outcome edit(const OtherEdit& edit);
    // Replaces a file of the configuration, or another file, whole; absent: the file goes. One that is not
    // there now gets the owner, mode and attributes of `like`, or is root's with mode 0644; directories
    // that it lacks are made. One that an Include line names is part of the configuration, for the check
    // too.
    Outcome replace(const std::string& path, std::optional<std::string> text, const std::string& like = "");
    // The same for a file of the configuration, or the part of a long one, as a command has got it.
    Outcome rewrite(const ConfigurationFile& file, std::string text);
    Outcome link(const std::string& path, const std::string& target);  // a symbolic link
    Outcome unlink(const std::string& path) { return replace(path, std::nullopt); }
    // Made with the commit, unless it is there; gone, if it is empty, with the undo.
    Outcome makeDirectory(const std::string& path, mode_t mode, std::optional<uid_t> user = {},
                          std::optional<gid_t> group = {});
    // Once the change is certain it goes, if nothing is left in it. Outer ones are told first.
    void mayEmpty(const std::string& directory) { journal_.emptied.push_back(directory); }
    // Writes down files or directories that are about to be made; those that exist are left out.
    Outcome willMake(const std::vector<std::string>& paths);
    // The same for what an operation's effects make: with the commit, or for the check.
    void planToMake(const std::vector<std::string>& paths);
    bool plansToMake(const std::string& path) const { return planned_.contains(path); }
    // A file that this run makes once the server is reloaded, and removes by itself; should it not come to
    // that, the next one does.
    void temporary(const std::string& path);

    // Owners and modes, or a directory that goes, once the change is certain. Not undone. They are for what
    // stands there now, unless the change makes it anew.
    void outstanding(zp::host::Effect effect);
    // Something that cannot be staged, done once the change is certain; lost when the run is interrupted.
    void afterwards(std::function<Outcome()> action) { afterwards_.push_back(std::move(action)); }
    // What waits until the server has been told, by one graceful reload, of what was done afterwards. It is
    // told whether the server may still have old files open: without a reload, and while old requests last.
    void afterReload(std::function<Outcome(const LetGo& letGo)> action) {
        afterReload_.push_back(std::move(action));
    }
    // What a reloaded server must show; else the change is taken back. Not looked at without a reload.
    void prove(std::function<Outcome()> proof) { proofs_.push_back(std::move(proof)); }
    // What else goes back when the server refuses the change, or when it is taken back after the reload;
    // not when a call fails before. Nothing in a dry run.
    void whenTakenBack(std::function<Outcome()> action) { takingBack_.push_back(std::move(action)); }
    // What must hold in the server's reading of the staged configuration for this change to be done: of a
    // site (empty: of the server), about something. What a later command says about the same takes its
    // place.
    void expect(const std::string& site, const std::string& about, Postcondition holds) {
        expectations_[{site, about}] = std::move(holds);
    }
    // Takes back what was said of the site about this, and about what begins so.
    void release(const std::string& site, const std::string& about);
    // What this change is asked to touch; nothing else may differ or lead elsewhere.
    Asked& asked() { return asked_; }
    void setUndone(int checkpoint) { journal_.undoes.push_back(checkpoint); }

    // Lists that commands read once and write once for all of them.
    Shared& shared() { return shared_; }

    // Another command follows; what the last one has got of the configuration is gone.
    void next() { set_->next(); }
    // Grows with whatever is staged.
    size_t staged() const {
        return set_->edits() + making_.size() + afterwards_.size() + journal_.outstanding.size() +
               shared_.changes();
    }

    // --- the end ---

    // Check, commit, reload, record. `again` is set when the live files have changed meanwhile: nothing was
    // done, and the change can be tried from its beginning.
    Outcome finish(bool& again);
    void abandon();  // leaves everything as it was

    // A file or block that a command got from it is gone once its file is edited.
    const Configuration& configuration() const { return set_->configuration(); }
    Content contentOf(const std::string& path) const { return set_->contentOf(path); }
    // What could not be read, whatever a command has made of that; see WorkingSet and Faults.
    Outcome fault() const {
        const Outcome unread = set_ ? set_->fault() : done();
        return unread.ok() ? faults_.first() : unread;
    }
    const Settings& settings() const { return *settings_; }
    // What the server makes of the live configuration; null with --no-check, or where it cannot be asked.
    const Reading* live() const;
    // What the server makes of the staged configuration, once that is checked; null: nobody has asked it.
    const Reading* reading() const { return readings_.staged.get(); }
    Output& output() { return *output_; }
    Server& server() { return *server_; }
    const State& state() const { return *state_; }

private:
    // How far the change was at one moment.
    struct Mark {
        size_t edits = 0, making = 0, made = 0, emptied = 0, outstanding = 0, special = 0, shared = 0;
        Asked asked{};
        std::map<std::pair<std::string, std::string>, Postcondition> expectations{};

        bool isAt(const Mark& other) const {
            return edits == other.edits && making == other.making && made == other.made &&
                   emptied == other.emptied && outstanding == other.outstanding &&
                   special == other.special && shared == other.shared;
        }
    };

    std::string work() const { return state_->stage() + "/work"; }
    Expected<std::string> runOn(const Edit& edit, const std::string& part, StagedRun& run);
    Outcome stageOthers(const OtherEdit& edit);
    Outcome takeOthers(const OtherEdit& edit);
    void takeEffects(StagedRun& run);
    Outcome makeAbove(const std::string& path);
    Outcome stage();
    Outcome check();
    void lookAtAnswers();
    Outcome lookAtOpened();
    std::string errorLog() const;
    Committing committing();
    Outcome commitAll(bool& again);
    Outcome reloadServer();
    Outcome rollBack(const std::string& reason, bool asked);
    void takeBackElse();
    Outcome carryOutRest();
    Outcome tellServer();
    Outcome perform(bool& again);
    void recordAs(const Outcome& outcome);
    Outcome doOutstandingOfAll();
    Mark mark() const;
    bool isEachSeen() const;
    void tellMembers(const Outcome& outcome);
    void tellConfirmation();
    void showDiff();
    void tellOutstanding();
    Outcome writeJournal();
    Outcome writePlanned();
    void leaveTimeOf(const std::string& directory);
    bool hasEffects() const;
    bool changesFiles() const { return set_->changed() || !making_.empty(); }

    const Faults faults_;
    // Whose turn it is: this change's own, or a member's.
    const Settings* settings_;
    Output* output_;
    const Settings& ownSettings_;
    Output& ownOutput_;
    std::vector<std::string> command_;
    std::optional<State> state_;
    std::shared_ptr<Lock> lock_;
    DirectoryTimes directoryTimes_;  // of a dry run
    std::optional<WorkingSet> set_;
    Shared shared_;
    std::optional<Server> server_;
    Journal journal_;
    std::vector<zp::host::Effect> making_;  // directories and files, before the others are put in place
    std::unordered_set<std::string> directories_;  // among them, of commands
    std::unordered_set<std::string> planned_;      // what the journal is to tell as made
    std::vector<std::function<Outcome()>> afterwards_, proofs_, takingBack_;
    std::vector<std::function<Outcome(const LetGo& letGo)>> afterReload_;
    Asked asked_;
    std::map<std::pair<std::string, std::string>, Postcondition> expectations_;
    Judged readings_;
    mutable std::optional<std::shared_ptr<const Reading>> live_;  // once somebody has asked for it
    std::vector<Member> members_;
    std::vector<std::vector<FileStep>> steps_;  // of each of them
    Mark mark_;                                 // when the last one began
    std::set<std::string> unwatched_;           // sites whose answers may change
    bool journalWritten_ = false;
    bool journalBehind_ = false;  // it lacks something that is planned
    bool inPlace_ = false;        // the change stands
    bool leftToNext_ = false;     // the journal stays: the next run's recovery clears up
};

}  // namespace zpweb
