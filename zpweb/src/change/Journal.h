// What a change has done outside of its stage, written down before it is done, so that the next run can
// finish or undo what an interrupted one has left.
#pragma once

#include <string>
#include <vector>

#include "output/Output.h"
#include "sys/Outcome.h"

namespace zpweb {

// A file that a change replaces.
struct ChangedFile {
    std::string path;
    std::string before, after;  // content hashes; an empty one: no such file
};

struct Journal {
    std::string command;
    bool committing = false;
    int checkpoint = 0;
    std::vector<ChangedFile> files;
    std::vector<std::string> made;     // files and folders, in the order in which they are made
    std::vector<std::string> scratch;  // fixed scratch files of operations
    std::vector<std::vector<std::string>> outstanding;  // commands to be run after the commit

    Json json() const;
    static Journal from(const Json& json);
};

// The checkpoint of a change: what `undo` needs. Its files' old contents stand beside it as "0", "1", ...
Json readCheckpoint(const std::string& folder);  // null when there is none

// The hash of the file as it is now; empty when there is none.
std::string currentHash(const std::string& path);

// Removes what was made, last first: files, and folders that are empty.
void removeMade(const std::vector<std::string>& made);

}  // namespace zpweb
