// What a change does outside of its stage, written down before it is done.
//
//   state       on disk                         what the next run does with it
//   ----------  ------------------------------  -------------------------------------------------
//   Preparing   nothing is in its place; what   removes what was made
//               is in `made` may have been made
//   Committing  files are being put in place    all are new: completes the change; else puts the
//                                               old ones back. A file that is neither is
//                                               somebody's: it stays, the checkpoint stays, and
//                                               the log tells
//   TakingBack  the server did not take it up;  puts the old ones back
//               they are being put back
//   Finishing   all are in place and taken up;  does what is outstanding
//               what is outstanding is being
//               done
//
// The journal goes last, after the record. A change without one has left nothing but its stage.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "host/Effect.h"
#include "sys/Outcome.h"

namespace zpweb {

// A file or a symbolic link that a change replaces.
struct ChangedFile {
    std::string path;
    std::string before, after;  // fingerprints; an empty one: nothing there
};

enum class JournalState { Preparing, Committing, TakingBack, Finishing };

struct Journal {
    std::string configuration;
    std::string command;
    std::vector<std::string> words;  // the same, as they were given
    std::string label;
    std::string login;    // who has become the user that runs it, where that is known
    std::string request;  // of another run, which this one made along (see store/Requests.h)
    JournalState progress = JournalState::Preparing;
    int checkpoint = 0;
    std::vector<int> undoes;  // the checkpoints that this change takes back; none for a plain change
    std::vector<ChangedFile> files;
    std::vector<std::string> made;       // files and directories, in the order in which they are made
    std::vector<std::string> emptied;    // directories that go with their last file, outer ones first
    std::vector<std::string> temporary;  // files that this run makes and removes, whatever comes of it
    std::vector<zp::host::Effect> outstanding;                // to be done once the change is certain
    std::vector<std::pair<std::string, std::string>> fields;  // of the answer that a request waits for
    // The changes of several runs that are made as this one; each from what those before it have made to
    // what it has made of that. Without them: the change of one.
    std::vector<Journal> members;

    std::span<const Journal> each() const {
        return members.empty() ? std::span(this, 1) : std::span(members);
    }

    bool changes() const { return makes() || !outstanding.empty(); }
    bool makes() const { return !files.empty() || !made.empty(); }  // what a checkpoint can take back
    // Journals of earlier versions do not tell.
    bool isFor(const std::string& main) const { return configuration.empty() || configuration == main; }
    std::string text() const;
    static std::optional<Journal> from(const std::string& text);
};

// Removes what was made, last first, as far as it is empty; a link of the site's owner leads nowhere.
void removeMade(const std::vector<std::string>& made);
// Of a change that stands: the names from which its files took their places, and what it has emptied.
void removeLeftovers(const Journal& journal);

}  // namespace zpweb
