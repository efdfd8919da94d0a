// The log of changes, and the way back.
#include <algorithm>

#include "commands/Common.h"
#include "commands/Groups.h"
#include "sys/File.h"
#include "sys/Hash.h"
#include "sys/Number.h"
#include "text/Difference.h"
#include "text/Patch.h"

namespace zpweb {

namespace {

Outcome history(Session& session, const Arguments& arguments) {
    const auto main = realPathOf(session.settings.configuration);
    if (!main.ok()) {
        return main.outcome();
    }
    const State state(*main);
    Json rows = Json::array();
    const auto text = readFile(state.audit());
    for (size_t at = 0; text.ok() && at < text->size();) {
        const size_t end = std::min(text->find('\n', at), text->size());
        Json entry = Json::parse(text->substr(at, end - at), nullptr, false);
        if (entry.is_object()) {
            const int checkpoint = entry["checkpoint"].is_number() ? entry["checkpoint"].get<int>() : 0;
            entry["undo"] =
                checkpoint != 0 && exists(state.checkpoint(checkpoint) + "/change")
                    ? (readCheckpoint(state.checkpoint(checkpoint)).value("undone", false) ? "undone"
                                                                                           : "yes")
                    : "no";
            rows.push_back(std::move(entry));
        }
        at = end + 1;
    }
    const size_t last = static_cast<size_t>(leadingNumber(arguments.one("--last", "50")));
    if (rows.size() > last) {
        rows.erase(rows.begin(), rows.end() - static_cast<std::ptrdiff_t>(last));
    }
    session.output.list("changes", {"checkpoint", "time", "user", "result", "undo", "command"},
                        std::move(rows));
    return done();
}

// The newest checkpoint that was neither undone nor made by an undo.
int newestUndoable(const State& state) {
    const auto names = entriesOf(state.checkpoints());
    const auto newest = std::find_if(names.rbegin(), names.rend(), [&](const std::string& name) {
        const Json change = readCheckpoint(state.checkpoints() + "/" + name);
        return change.is_object() && change.value("undoes", 0) == 0 && !change.value("undone", false);
    });
    return newest == names.rend() ? 0 : leadingNumber(*newest);
}

// The file as the change left it, if it is still known; else as it is now without the undo.
Outcome editedSince(Output& output, const std::string& folder, size_t index, const ChangedFile& file) {
    const auto kept = readFile(folder + "/" + std::to_string(index));
    const auto patch = readFile(folder + "/" + std::to_string(index) + ".patch");
    const auto left = kept.ok() && patch.ok() ? patched(*kept, *patch) : std::nullopt;
    const auto now = readFile(file.path);
    const std::string current = now.ok() ? *now : "";
    if (left && contentHash(*left) == file.after) {
        output.addDiff(unifiedDiff(file.path, *left, current));
    } else {
        output.addDiff(unifiedDiff(file.path, current, kept.ok() ? *kept : ""));
    }
    return failure(file.path + ": edited since this change; undo it by hand (the diff shows the edits)");
}

Outcome undo(Transaction& change, const Arguments& arguments) {
    const State& state = change.state();
    const int id =
        arguments.has("CHECKPOINT") ? leadingNumber(arguments.one("CHECKPOINT")) : newestUndoable(state);
    const std::string folder = state.checkpoint(id);
    Json record = readCheckpoint(folder);
    if (!record.is_object()) {
        return failure(
            Status::NotFound,
            id == 0 ? "nothing to undo" : "checkpoint " + std::to_string(id) + ": not kept (see history)");
    }
    if (record.value("undone", false)) {
        return failure("checkpoint " + std::to_string(id) + " is undone already");
    }
    const Journal old = Journal::from(record);
    for (size_t i = 0; i < old.files.size(); ++i) {
        if (currentHash(old.files[i].path) != old.files[i].after) {
            return editedSince(change.output(), folder, i, old.files[i]);
        }
    }
    for (size_t i = 0; i < old.files.size(); ++i) {
        std::optional<std::string> text;
        if (!old.files[i].before.empty()) {
            auto kept = readFile(folder + "/" + std::to_string(i));
            if (!kept.ok() || contentHash(*kept) != old.files[i].before) {
                return failure(folder + "/" + std::to_string(i) + ": the checkpoint is damaged");
            }
            text = std::move(*kept);
        }
        if (Outcome replaced = change.replace(old.files[i].path, std::move(text)); !replaced.ok()) {
            return replaced;
        }
    }
    change.setUndone(id);
    change.afterwards([folder, record, made = old.made]() mutable {
        removeMade(made);
        record["undone"] = true;
        return replaceFile(folder + "/change", record.dump(), 0600);
    });
    change.output().set("undone", old.command);
    change.output().set("checkpoint", id);
    return done();
}

}  // namespace

std::vector<Command> historyCommands() {
    return {
        {"history",
         "List the changes that were made",
         {{"--last", Kind::Number, "COUNT", "Only the last ones (50)"}},
         {},
         history},
        {"undo",
         "Take a change back",
         {{"CHECKPOINT", Kind::Number, "", "Its number in the history (default: the last change)"}},
         {},
         nullptr,
         undo,
         "Refused, with a diff, when somebody has edited a file since. Folders that the change made are "
         "removed "
         "if they are empty. Modes and owners outside of the configuration stay."},
    };
}

}  // namespace zpweb
