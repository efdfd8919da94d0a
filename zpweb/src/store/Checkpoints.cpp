#include "store/Checkpoints.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>

#include "store/JournalText.h"
#include "store/Unconfirmed.h"
#include "sys/File.h"
#include "sys/Number.h"

namespace zpweb {

namespace {

constexpr size_t CheckpointsKept = 50;

// The lock file holds the highest number that was given; 0 where none was kept yet.
Expected<int> counted(const State& state) {
    const auto text = readFile(state.lock());
    if (!text.ok()) {
        return text.outcome().status == Status::NotFound ? Expected(0) : Expected<int>(text.outcome());
    }
    return leadingNumber(*text);
}

// In its place, whole: a lock file that is replaced is no lock.
Outcome setCounted(const State& state, int number) {
    std::array<char, 16> text{};
    const int size = std::snprintf(text.data(), text.size(), "%010d\n", number);
    const Descriptor file(::open(state.lock().c_str(), O_WRONLY | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600));
    const bool written = file.isOpen() &&
                         ::pwrite(file.number(), text.data(), static_cast<size_t>(size), 0) == size &&
                         ::fsync(file.number()) == 0;
    return written ? done() : failure(systemError(state.lock()));
}

}  // namespace

std::string Checkpoint::text() const {
    auto json = jsonOf(change);
    json.erase("members");
    json["id"] = id;
    json["time"] = time;
    json["undone"] = undone;
    return json.dump();
}

std::optional<Checkpoint> Checkpoint::read(const std::string& directory) {
    const auto text = readFile(directory + "/change");
    const auto json = text.ok() ? parsedObject(*text) : std::nullopt;
    if (!json) {
        return std::nullopt;
    }
    return Checkpoint{journalOf(*json), json->value("id", 0), json->value("time", ""),
                      json->value("undone", false)};
}

Expected<std::vector<int>> checkpointsOf(const State& state) {
    const auto names = listed(state.checkpoints());
    if (!names.ok()) {
        return names.outcome().status == Status::NotFound ? Expected(std::vector<int>())
                                                          : Expected<std::vector<int>>(names.outcome());
    }
    std::vector<int> numbers;
    for (const std::string& name : *names) {
        if (const int number = leadingNumber(name); number > 0) {
            numbers.push_back(number);
        }
    }
    std::sort(numbers.begin(), numbers.end());
    return numbers;
}

Expected<int> nextCheckpoint(const State& state) {
    const auto kept = checkpointsOf(state);
    const auto last = kept.ok() ? counted(state) : kept.outcome();
    if (!last.ok()) {
        return failure("cannot number the checkpoint: " + last.outcome().message);
    }
    return std::max(*last, kept->empty() ? 0 : kept->back()) + 1;
}

Outcome makeCheckpoint(const State& state, int number) {
    const std::string directory = state.checkpoint(number);
    Outcome made = createDirectory(state.checkpoints(), 0700);
    made = made.ok() ? setCounted(state, number) : made;
    removeTree(directory);
    return made.ok() ? createDirectory(directory, 0700) : made;
}

Outcome describeCheckpoint(const State& state, const Checkpoint& checkpoint) {
    const std::string directory = state.checkpoint(checkpoint.id);
    const std::string change = directory + "/change";
    Outcome outcome = writeNewFile(change, checkpoint.text(), 0600);
    for (const std::string& path : {change, directory, state.checkpoints()}) {
        outcome = outcome.ok() ? sync(path) : outcome;
    }
    return outcome;
}

void removeCheckpoints(const State& state, const Journal& change) {
    for (const Journal& each : change.each()) {
        removeTree(state.checkpoint(each.checkpoint));
    }
    removeTree(state.checkpoint(change.checkpoint));
}

void removeWhole(const State& state, const Journal& change) {
    if (!change.members.empty()) {
        removeTree(state.checkpoint(change.checkpoint));
    }
}

void pruneCheckpoints(const State& state) {
    const auto numbers = checkpointsOf(state);
    if (!numbers.ok() || numbers->size() <= CheckpointsKept) {
        return;
    }
    const auto waiting = checkpointsAwaited(state);  // which are not known: none goes
    for (size_t i = 0; waiting.ok() && i + CheckpointsKept < numbers->size(); ++i) {
        const int number = (*numbers)[i];
        if (std::find(waiting->begin(), waiting->end(), number) == waiting->end()) {
            removeTree(state.checkpoint(number));
        }
    }
}

namespace {

// What an undo has taken back stands again once that is taken back itself.
Outcome setUndone(const State& state, int number, Checkpoint checkpoint, bool undone) {
    for (const int taken : checkpoint.change.undoes) {
        auto before = Checkpoint::read(state.checkpoint(taken));
        Outcome set = before ? setUndone(state, taken, std::move(*before), !undone) : done();
        if (!set.ok()) {
            return set;
        }
    }
    checkpoint.undone = undone;
    return replaceFile(state.checkpoint(number) + "/change", checkpoint.text(), 0600);
}

}  // namespace

Outcome markUndone(const State& state, int number) {
    const std::string directory = state.checkpoint(number);
    auto checkpoint = Checkpoint::read(directory);
    if (!checkpoint) {
        return failure(directory + ": the checkpoint cannot be read");
    }
    removeMade(checkpoint->change.made);
    return setUndone(state, number, std::move(*checkpoint), true);
}

}  // namespace zpweb
