// undo: takes a change back.
#include <algorithm>
#include <iterator>

#include "commands/Commands.h"
#include "input/Quoted.h"
#include "phases/AccessBefore.h"
#include "phases/PutBack.h"
#include "store/Checkpoints.h"
#include "sys/Copy.h"
#include "sys/File.h"
#include "sys/Hash.h"
#include "sys/OwnersFile.h"
#include "text/Difference.h"
#include "text/Merge.h"
#include "text/Patch.h"

namespace zpweb {

namespace {

constexpr auto Number = maybeNumber("CHECKPOINT", "Its number in the history (default: the last change)");

// Those that were neither undone nor made by an undo, oldest first.
Expected<std::vector<Checkpoint>> undoableOf(const State& state) {
    const auto numbers = checkpointsOf(state);
    std::vector<Checkpoint> undoable;
    for (size_t i = 0; numbers.ok() && i < numbers->size(); ++i) {
        auto checkpoint = Checkpoint::read(state.checkpoint((*numbers)[i]));
        if (checkpoint && checkpoint->change.undoes.empty() && !checkpoint->undone &&
            checkpoint->change.isFor(state.configuration)) {
            undoable.push_back(std::move(*checkpoint));
        }
    }
    return numbers.ok() ? Expected(std::move(undoable)) : numbers.outcome();
}

// The old text of a file. One of several changes that were made as one has found what those before it made.
Expected<std::string> keptText(const std::string& kept) {
    auto text = readFile(kept);
    const auto earlier = readFile(kept + ".earlier");
    if (!text.ok() || earlier.outcome().status == Status::NotFound) {
        return text;
    }
    auto found = earlier.ok() ? patchedByAll(*text, *earlier) : std::nullopt;
    return found ? Expected(std::move(*found)) : failure(kept + ".earlier: it cannot be read");
}

// One file of the change that is taken back: its text before and after the change, and as it is now, with
// what was taken back before it.
struct Version {
    const ChangedFile& file;
    std::string kept;  // where its old text is kept
    std::optional<std::string> link;
    Expected<std::string> before, after;
    Content now;

    Version(const Transaction& change, const std::string& directory, size_t number,
            const ChangedFile& changed)
        : file(changed),
          kept(directory + "/" + std::to_string(number)),
          link(linkTarget(kept)),
          before(keptText(kept)),
          after(failure("not known")),
          now(change.contentOf(changed.path)) {
        const auto patch = readFile(kept + ".patch");
        auto left = before.ok() && patch.ok() ? patched(*before, *patch) : std::nullopt;
        if (left && contentHash(*left) == file.after) {
            after = std::move(*left);
        }
    }
    bool isUnedited() const { return now.hash() == file.after; }
    bool isDamaged() const {
        return link ? linkHash(*link) != file.before : !before.ok() || contentHash(*before) != file.before;
    }
    // The old text with what somebody has changed elsewhere in the file since.
    std::optional<std::string> merged() const {
        return !link && before.ok() && after.ok() && now ? mergedChanges(*after, now.text(), *before)
                                                         : std::nullopt;
    }
};

// Shows what somebody has done to the file since, if what the change left is still known; else what the
// undo would do.
Outcome editedSince(Output& output, const Version& version) {
    const std::string& current = version.now.text();
    if (version.after.ok()) {
        output.addDiff(shownDiff(version.file.path, *version.after, current));
    } else {
        output.addDiff(shownDiff(version.file.path, current, version.before.ok() ? *version.before : ""));
    }
    return failure(
        version.file.path +
        ": the same lines were edited since this change; undo it by hand (the diff shows the edits)");
}

// A key or certificate that a setting had: the server's check reads it where it was.
bool isForServersCheck(const Transaction& change, const ChangedFile& file) {
    return file.after.empty() && file.path.ends_with(".pem") && !exists(file.path) &&
           file.path.starts_with(directoryOf(change.configuration().main().path()) + "/zpweb.d/");
}

// A change that does not come to stand takes it away again.
Outcome makeNow(Transaction& change, const std::string& path, const std::string& kept) {
    const std::string directory = directoryOf(path);
    Outcome made = change.willMake({directoryOf(directory), directory, path});
    made = made.ok() ? createDirectory(directoryOf(directory), 0755) : made;
    made = made.ok() ? createDirectory(directory, 0700) : made;
    return made.ok() ? copyWhole(kept, path) : made;
}

Outcome putBackVersion(Transaction& change, const Version& version) {
    const ChangedFile& file = version.file;
    if (version.now.hash() == file.before) {
        return done();  // somebody has taken it back
    }
    if (!version.isUnedited()) {
        auto merged = version.merged();
        if (!merged) {
            return editedSince(change.output(), version);
        }
        change.output().note(file.path + ": edited since; those lines stay");
        return change.replace(file.path, std::move(*merged), version.kept);
    }
    if (file.before.empty()) {
        return change.unlink(file.path);
    }
    if (version.isDamaged()) {
        return failure(version.kept + ": the checkpoint is damaged");
    }
    if (!version.link && isForServersCheck(change, file)) {
        return makeNow(change, file.path, version.kept);
    }
    return version.link ? change.link(file.path, *version.link)
                        : change.replace(file.path, *version.before, version.kept);
}

// A file that may be a site's owner's, and is by now what no undo can put the old lines into.
bool isOwnersAndLost(const Transaction& change, const std::string& directory, size_t number,
                     const ChangedFile& file) {
    const Configuration& configuration = change.configuration();
    if (configuration.file(file.path) != nullptr || configuration.includes(file.path)) {
        return false;
    }
    const auto standing = standingOf(file);
    if (!standing.ok() || *standing != Standing::Else) {
        return false;
    }
    return !readOwnersFile(file.path).ok() || !Version(change, directory, number, file).merged();
}

// The newest of those that changed the file, or 0.
int newestOf(const std::vector<Checkpoint>& undoable, const std::string& path) {
    const auto newest = std::find_if(undoable.rbegin(), undoable.rend(), [&](const Checkpoint& each) {
        return std::any_of(each.change.files.begin(), each.change.files.end(),
                           [&](const ChangedFile& file) { return file.path == path; });
    });
    return newest == undoable.rend() ? 0 : newest->id;
}

// An edit of the same lines is most often a later change: then that goes first.
Outcome putAllBack(Transaction& change, const Checkpoint& checkpoint, const std::string& directory,
                   const std::vector<Checkpoint>& undoable) {
    const std::vector<ChangedFile>& files = checkpoint.change.files;
    for (size_t i = 0; i < files.size(); ++i) {
        if (change.settings().leaveEdited && isOwnersAndLost(change, directory, i, files[i])) {
            change.output().warning(files[i].path + ": edited since; it stays as it is");
            continue;
        }
        const Version version(change, directory, i, files[i]);
        const bool isInTheWay = !version.isUnedited() && !version.merged();
        if (const int newest = isInTheWay ? newestOf(undoable, files[i].path) : 0; newest > checkpoint.id) {
            return failure("checkpoint " + std::to_string(newest) +
                           " was made since: undo the later changes first, or change it by hand");
        }
        if (Outcome back = putBackVersion(change, version); !back.ok()) {
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
    const auto& given = checkpoint.change.outstanding;
    if (std::any_of(given.begin(), given.end(), [](const auto& effect) { return !effect.deep; })) {
        output.note("modes and owners that the change gave single files and directories stay");
    }
    output.set("left", left);
}

// The change of this number, all that have the label, newest first, or the last one.
Expected<std::vector<Checkpoint>> wanted(const State& state, std::vector<Checkpoint> undoable,
                                         std::optional<int> number, const std::string& label) {
    if (number) {
        auto checkpoint = Checkpoint::read(state.checkpoint(*number));
        if (checkpoint && !checkpoint->change.isFor(state.configuration)) {
            return failure(Status::NotFound, "checkpoint " + std::to_string(*number) + ": it is of " +
                                                 checkpoint->change.configuration);
        }
        if (checkpoint && !label.empty() && checkpoint->change.label != label) {
            return failure(Status::NotFound, "checkpoint " + std::to_string(*number) +
                                                 ": it has not the label " + inQuotes(label));
        }
        if (checkpoint && checkpoint->undone) {
            return failure("checkpoint " + std::to_string(*number) + " is undone already");
        }
        return checkpoint ? Expected(std::vector{std::move(*checkpoint)})
                          : failure(Status::NotFound,
                                    "checkpoint " + std::to_string(*number) + ": not kept (see history)");
    }
    if (!label.empty()) {
        std::erase_if(undoable, [&](const Checkpoint& each) { return each.change.label != label; });
    } else if (!undoable.empty()) {
        undoable.erase(undoable.begin(), undoable.end() - 1);
    }
    if (undoable.empty()) {
        return failure(Status::NotFound,
                       label.empty() ? "nothing to undo"
                                     : "no change with the label " + inQuotes(label) + " is left to undo");
    }
    std::reverse(undoable.begin(), undoable.end());
    return undoable;
}

Outcome undo(Transaction& change, const Arguments& given) {
    const State& state = change.state();
    const auto all = undoableOf(state);
    if (!all.ok()) {
        return all.outcome();
    }
    const auto chosen = wanted(state, *all, given[Number], change.settings().label);
    if (!chosen.ok()) {
        return chosen.outcome();
    }
    for (const Checkpoint& checkpoint : *chosen) {
        tellWhatGoes(change.output(), checkpoint);
        if (Outcome back = putAllBack(change, checkpoint, state.checkpoint(checkpoint.id), *all);
            !back.ok()) {
            return back;
        }
        const auto access = keptAccess(state.checkpoint(checkpoint.id));
        if (!access.ok()) {
            return access.outcome();
        }
        change.setUndone(checkpoint.id);
        change.afterwards([&change, known = checkpoint, kept = *access] {
            tellWhatStays(change.output(), known);
            return restoreAccess(kept, known.change.outstanding);
        });
    }
    change.output().set("undone", chosen->front().change.command);
    change.output().set("checkpoint", chosen->front().id);
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
            "With --label all changes of that label are taken back, newest first. What somebody has "
            "changed elsewhere in the files since stays. Refused, with a diff, when the "
            "same "
            "lines were edited. Directories that the change made are removed if they are empty. Owners and "
            "modes "
            "that \"vdir create --take-over\" gave are given back; others outside of the configuration "
            "stay.",
        .examples = {"undo --dry-run --diff", "undo", "undo 17", "undo --label move-to-new-address"},
        .runsAlone = true,
    };
}

}  // namespace zpweb
