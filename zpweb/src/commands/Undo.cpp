// undo: takes a change back.
#include <algorithm>
#include <iterator>

#include "commands/Commands.h"
#include "sys/File.h"
#include "sys/Hash.h"
#include "sys/Number.h"
#include "text/Difference.h"
#include "text/Merge.h"
#include "text/Patch.h"

namespace zpweb {

namespace {

constexpr auto Number = maybeNumber("CHECKPOINT", "Its number in the history (default: the last change)");

// The newest checkpoint that was neither undone nor made by an undo.
int newestUndoable(const State& state) {
    const auto names = entriesOf(state.checkpoints());
    const auto newest = std::find_if(names.rbegin(), names.rend(), [&](const std::string& name) {
        const auto checkpoint = Checkpoint::read(state.checkpoints() + "/" + name);
        return checkpoint && checkpoint->change.undoes == 0 && !checkpoint->undone;
    });
    return newest == names.rend() ? 0 : leadingNumber(*newest);
}

// One file of the change that is taken back: its text before and after the change, and as it is now.
struct Version {
    const ChangedFile& file;
    std::string kept;  // where its old text is kept
    Expected<std::string> before, after, now;

    Version(const std::string& folder, size_t number, const ChangedFile& changed)
        : file(changed),
          kept(folder + "/" + std::to_string(number)),
          before(readFile(kept)),
          after(failure("not known")),
          now(readFile(changed.path)) {
        const auto patch = readFile(kept + ".patch");
        auto left = before.ok() && patch.ok() ? patched(*before, *patch) : std::nullopt;
        if (left && contentHash(*left) == file.after) {
            after = std::move(*left);
        }
    }
    bool isUnedited() const { return currentHash(file.path) == file.after; }
    // The old text with what somebody has changed elsewhere in the file since.
    std::optional<std::string> merged() const {
        return before.ok() && after.ok() && now.ok() ? mergedChanges(*after, *now, *before) : std::nullopt;
    }
};

// Shows what somebody has done to the file since, if what the change left is still known; else what the
// undo would do.
Outcome editedSince(Output& output, const Version& version) {
    const std::string current = version.now.ok() ? *version.now : "";
    if (version.after.ok()) {
        output.addDiff(shownDiff(version.file.path, *version.after, current));
    } else {
        output.addDiff(shownDiff(version.file.path, current, version.before.ok() ? *version.before : ""));
    }
    return failure(
        version.file.path +
        ": the same lines were edited since this change; undo it by hand (the diff shows the edits)");
}

Outcome putBack(Transaction& change, const Version& version) {
    const ChangedFile& file = version.file;
    if (!version.isUnedited()) {
        auto merged = version.merged();
        if (!merged) {
            return editedSince(change.output(), version);
        }
        change.output().note(file.path + ": edited since; those lines stay");
        return change.replace(file.path, std::move(*merged), version.kept);
    }
    if (file.before.empty()) {
        return change.replace(file.path, std::nullopt, "");
    }
    if (!version.before.ok() || contentHash(*version.before) != file.before) {
        return failure(version.kept + ": the checkpoint is damaged");
    }
    return change.replace(file.path, *version.before, version.kept);
}

// An edit of the same lines is most often a later change: then that goes first.
Outcome putAllBack(Transaction& change, const Checkpoint& checkpoint, const std::string& folder,
                   int newest) {
    const std::vector<ChangedFile>& files = checkpoint.change.files;
    for (size_t i = 0; i < files.size(); ++i) {
        const Version version(folder, i, files[i]);
        if (newest > checkpoint.id && !version.isUnedited() && !version.merged()) {
            return failure("checkpoint " + std::to_string(newest) +
                           " was made since: undo the later changes first, or change it by hand");
        }
        if (Outcome back = putBack(change, version); !back.ok()) {
            return back;
        }
    }
    return done();
}

void tellWhatGoes(Output& output, const Checkpoint& checkpoint) {
    std::string text = "taking back checkpoint " + std::to_string(checkpoint.id) + " of " +
                       checkpoint.time + ": " + checkpoint.change.command;
    for (const ChangedFile& file : checkpoint.change.files) {
        text += "\n  " + file.path;
    }
    output.note(text);
}

// What the change made and others use by now stays.
void tellWhatStays(Output& output, const Checkpoint& checkpoint) {
    std::vector<std::string> left;
    std::copy_if(checkpoint.change.made.begin(), checkpoint.change.made.end(), std::back_inserter(left),
                 exists);
    if (!left.empty()) {
        output.note("left, for it is not empty: " + left.front() +
                    (left.size() > 1 ? " and " + std::to_string(left.size() - 1) + " more" : ""));
    }
    if (!checkpoint.change.outstanding.empty()) {
        output.note("modes and owners that the change gave stay");
    }
    output.set("left", left);
}

Expected<Checkpoint> undoable(const State& state, int id) {
    auto checkpoint = Checkpoint::read(state.checkpoint(id));
    if (!checkpoint) {
        return failure(
            Status::NotFound,
            id == 0 ? "nothing to undo" : "checkpoint " + std::to_string(id) + ": not kept (see history)");
    }
    if (checkpoint->undone) {
        return failure("checkpoint " + std::to_string(id) + " is undone already");
    }
    return std::move(*checkpoint);
}

Outcome undo(Transaction& change, const Arguments& given) {
    const State& state = change.state();
    const auto number = given[Number];
    const int id = number ? *number : newestUndoable(state);
    auto checkpoint = undoable(state, id);
    if (!checkpoint.ok()) {
        return checkpoint.outcome();
    }
    tellWhatGoes(change.output(), *checkpoint);
    const std::string folder = state.checkpoint(id);
    if (Outcome back = putAllBack(change, *checkpoint, folder, newestUndoable(state)); !back.ok()) {
        return back;
    }
    change.setUndone(id);
    change.output().set("undone", checkpoint->change.command);
    change.output().set("checkpoint", id);
    change.afterwards([folder, &change, known = *checkpoint] {
        Outcome marked = markUndone(folder);
        tellWhatStays(change.output(), known);
        return marked;
    });
    return done();
}

}  // namespace

Command undoChange() {
    return {
        .words = "undo",
        .summary = "Take a change back",
        .action = undo,
        .parameters = {Number},
        .more =
            "What somebody has changed elsewhere in the files since stays. Refused, with a diff, when the "
            "same "
            "lines were edited. Directories that the change made are removed if they are empty. Modes and "
            "owners outside of the configuration stay.",
        .examples = {"undo --dry-run --diff", "undo", "undo 17"},
        .runsAlone = true,
    };
}

}  // namespace zpweb
