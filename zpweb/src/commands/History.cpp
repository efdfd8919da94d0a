// history: the log of changes.
#include <algorithm>
#include <map>

#include "commands/Commands.h"
#include "input/Json.h"
#include "store/Checkpoints.h"
#include "store/Clock.h"
#include "store/Unconfirmed.h"
#include "sys/File.h"
#include "text/Lines.h"

namespace zpweb {

namespace {

constexpr auto Last = numberOption("--last", "COUNT", "Only the last ones (50)");

int checkpointOf(const Json& entry) {
    return entry.contains("checkpoint") && entry["checkpoint"].is_number() ? entry["checkpoint"].get<int>()
                                                                           : 0;
}

// Until when changes wait for a confirmation, by the numbers of their checkpoints.
std::map<int, std::string> waitingOf(const State& state) {
    std::map<int, std::string> waiting;
    const auto all = unconfirmedOf(state);
    for (const Unconfirmed& each : all.ok() ? *all : std::vector<Unconfirmed>()) {
        waiting[each.checkpoint] = timeOf(each.deadline);
    }
    return waiting;
}

const char* undoOf(const State& state, const Json& entry) {
    const int number = checkpointOf(entry);
    const auto checkpoint = number == 0 ? std::nullopt : Checkpoint::read(state.checkpoint(number));
    return !checkpoint ? "no" : checkpoint->undone ? "undone" : "yes";
}

void addField(List& rows, const std::string& name, const Json& value) {
    if (value.is_string()) {
        rows.add(name, value.get_ref<const std::string&>());
    } else if (name == "command") {
        rows.add(name, value.get<std::vector<std::string>>());
    } else if (value.is_null()) {
        rows.add(name, {});
    } else {
        rows.add(name, JsonText{value.dump(-1, ' ', true)});
    }
}

// The last so many, oldest first; with --label those of the label.
std::vector<Json> lastEntries(Session& session, const State& state, std::string_view text, size_t most) {
    const Lines lines(text);
    const std::string& label = session.settings.label;
    std::vector<Json> entries;
    for (size_t i = lines.size(); i > 0 && entries.size() < most; --i) {
        Json entry = parsedJson(lines[i - 1]);
        if (!entry.is_object()) {
            session.output.warning(state.audit() + ":" + std::to_string(i) + ": no entry of the history");
        } else if (label.empty() || (entry.contains("label") && entry["label"] == label)) {
            entries.push_back(std::move(entry));
        }
    }
    std::reverse(entries.begin(), entries.end());
    return entries;
}

Outcome history(Session& session, const Arguments& given) {
    const auto main = realPathOf(session.settings.configuration);
    if (!main.ok()) {
        return main.outcome();
    }
    const State state(*main);
    const auto text = readFile(state.audit());
    if (!text.ok() && text.outcome().status != Status::NotFound) {
        return failure("the history cannot be read: " + text.outcome().message);
    }
    const std::map<int, std::string> waiting = waitingOf(state);
    List& rows =
        session.output.list("changes", {"checkpoint", "time", "user", "result", "undo", "command"});
    for (const Json& entry : lastEntries(session, state, text.ok() ? *text : "",
                                         static_cast<size_t>(given[Last].value_or(50)))) {
        rows.row();
        for (const auto& [name, value] : entry.items()) {
            addField(rows, name, value);
        }
        rows.add("undo", undoOf(state, entry));
        if (const auto wait = waiting.find(checkpointOf(entry)); wait != waiting.end()) {
            rows.add("confirm_by", wait->second);
        }
    }
    return done();
}

}  // namespace

Command historyOfChanges() {
    return {
        .words = "history",
        .summary = "List the changes that were made",
        .action = history,
        .parameters = {Last},
        .more = "With --label only those of that label.",
        .examples = {"history --last 5"},
    };
}

}  // namespace zpweb
