// What `undo` needs of a change: a directory for each, with a description ("change"), the old files ("0",
// "1", ... in the order of the description) and what the change made of them ("0.patch").
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "store/Journal.h"
#include "store/State.h"

namespace zpweb {

struct Checkpoint {
    Journal change;
    int id = 0;
    std::string time;
    bool undone = false;  // it is taken back itself

    std::string text() const;
    static std::optional<Checkpoint> read(const std::string& directory);  // absent when there is none
};

// The numbers of the checkpoints that are kept, in their order. An error where they cannot be listed: none
// is taken for there being none.
Expected<std::vector<int>> checkpointsOf(const State& state);
// A number that no change had before, also when the checkpoints with the highest numbers are gone.
Expected<int> nextCheckpoint(const State& state);
// Makes the directory of a new checkpoint.
Outcome makeCheckpoint(const State& state, int number);
// Writes the description and brings all of the checkpoint to the disk.
Outcome describeCheckpoint(const State& state, const Checkpoint& checkpoint);
// All that this change has, of its members too.
void removeCheckpoints(const State& state, const Journal& change);
// Several changes have become one that stands: each has its own, and that of the whole goes.
void removeWhole(const State& state, const Journal& change);
void pruneCheckpoints(const State& state);

// The checkpoint's change is taken back: what it made goes, and it is marked.
Outcome markUndone(const State& state, int number);

}  // namespace zpweb
