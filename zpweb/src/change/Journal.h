// What a change has done outside of its stage, written down before it is done, so that the next run can
// finish or undo what an interrupted one has left.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "sys/Outcome.h"

namespace zpweb {

// A file that a change replaces.
struct ChangedFile {
    std::string path;
    std::string before, after;  // content hashes; an empty one: no such file
};

struct Journal {
    std::string command;
    std::vector<std::string> words;  // the same, as they were given
    bool committing = false;
    int checkpoint = 0;
    int undoes = 0;  // the checkpoint that this change takes back; 0 for a plain change
    std::vector<ChangedFile> files;
    std::vector<std::string> made;     // files and folders, in the order in which they are made
    std::vector<std::string> scratch;  // fixed scratch files of operations
    std::vector<std::vector<std::string>> outstanding;  // commands to be run after the commit

    std::string text() const;
    static std::optional<Journal> from(const std::string& text);
};

// What `undo` needs of a change. Its files' old contents stand beside it as "0", "1", ...
struct Checkpoint {
    Journal change;
    int id = 0;
    std::string time;
    bool undone = false;  // it is taken back itself

    std::string text() const;
    static std::optional<Checkpoint> read(const std::string& folder);  // absent when there is none
};

// The checkpoint's change is taken back: what it made goes, and it is marked.
Outcome markUndone(const std::string& folder);

// Removes what was made, last first, as far as it is empty; a link of the site's owner leads nowhere.
void removeMade(const std::vector<std::string>& made);

}  // namespace zpweb
