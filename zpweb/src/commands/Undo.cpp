// undo: takes a change back.
#include <algorithm>

#include "commands/Commands.h"
#include "sys/File.h"
#include "sys/Hash.h"
#include "sys/Number.h"
#include "text/Difference.h"
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

// A diff of what somebody has done to the file since, if what the change left is still known; else of what
// the undo would do.
Outcome editedSince(Output& output, const std::string& kept, const ChangedFile& file) {
    const auto old = readFile(kept);
    const auto patch = readFile(kept + ".patch");
    const auto left = old.ok() && patch.ok() ? patched(*old, *patch) : std::nullopt;
    const auto now = readFile(file.path);
    const std::string current = now.ok() ? *now : "";
    if (left && contentHash(*left) == file.after) {
        output.addDiff(shownDiff(file.path, *left, current));
    } else {
        output.addDiff(shownDiff(file.path, current, old.ok() ? *old : ""));
    }
    return failure(file.path + ": edited since this change; undo it by hand (the diff shows the edits)");
}

Outcome putBack(Transaction& change, const std::string& kept, const ChangedFile& file) {
    if (file.before.empty()) {
        return change.replace(file.path, std::nullopt, "");
    }
    auto text = readFile(kept);
    if (!text.ok() || contentHash(*text) != file.before) {
        return failure(kept + ": the checkpoint is damaged");
    }
    return change.replace(file.path, std::move(*text), kept);
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
    const std::string folder = state.checkpoint(id);
    const std::vector<ChangedFile>& files = checkpoint->change.files;
    for (size_t i = 0; i < files.size(); ++i) {
        if (currentHash(files[i].path) != files[i].after) {
            const int later = newestUndoable(state);
            return later > id
                       ? failure("checkpoint " + std::to_string(later) +
                                 " was made since: undo the later changes first, or change it by hand")
                       : editedSince(change.output(), folder + "/" + std::to_string(i), files[i]);
        }
    }
    for (size_t i = 0; i < files.size(); ++i) {
        if (Outcome back = putBack(change, folder + "/" + std::to_string(i), files[i]); !back.ok()) {
            return back;
        }
    }
    change.setUndone(id);
    change.output().set("undone", checkpoint->change.command);
    change.output().set("checkpoint", id);
    change.afterwards([folder] { return markUndone(folder); });
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
            "Refused, with a diff, when somebody has edited a file since. Folders that the change made are "
            "removed if they are empty. Modes and owners outside of the configuration stay.",
        .examples = {"undo --dry-run --diff", "undo", "undo 17"},
        .runsAlone = true,
    };
}

}  // namespace zpweb
