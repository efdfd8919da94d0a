// history: the log of changes.
#include <algorithm>
#include <map>
#include "input/Json.h"

#include "commands/Commands.h"
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
    const Lines lines(text.ok() ? std::string_view(*text) : std::string_view());
    const std::map<int, std::string> waiting = waitingOf(state);
    const auto last = static_cast<size_t>(given[Last].value_or(50));
    List& rows =
        session.output.list("changes", {"checkpoint", "time", "user", "result", "undo", "command"});
    for (size_t i = lines.size() - std::min(lines.size(), last); i < lines.size(); ++i) {
        const Json entry = parsedJson(lines[i]);
        if (!entry.is_object()) {
            session.output.warning(state.audit() + ":" + std::to_string(i + 1) +
                                   ": no entry of the history");
            continue;
        }
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
        .examples = {"history --last 5"},
    };
}

}  // namespace zpweb
