#include <algorithm>

#include "cli/Command.h"
#include "commands/Find.h"
#include "commands/Groups.h"
#include "sys/File.h"

namespace zpweb {

const std::vector<Command>& commandTable() {
    static const std::vector<Command> table = [] {
        std::vector<Command> all;
        for (const auto group : commandGroups) {
            std::vector<Command> commands = group();
            std::move(commands.begin(), commands.end(), std::back_inserter(all));
        }
        return all;
    }();
    return table;
}

const Command* findCommand(const std::string& words) {
    const auto& table = commandTable();
    const auto found = std::find_if(table.begin(), table.end(),
                                    [&](const Command& command) { return command.words == words; });
    return found == table.end() ? nullptr : &*found;
}

Outcome Command::read(Session& session, const Arguments& arguments) const {
    if (const Read* plain = std::get_if<Read>(&action)) {
        return (*plain)(session, arguments);
    }
    const auto main = realPathOf(session.settings.configuration);
    if (!main.ok()) {
        return main.outcome();
    }
    session.output.step("reading the configuration");
    const auto configuration = Configuration::load(*main);
    if (!configuration.ok()) {
        return configuration.outcome();
    }
    if (const auto* ofConfiguration = std::get_if<ReadConfiguration>(&action)) {
        return (*ofConfiguration)(session, *configuration, arguments);
    }
    const auto places = findSite(*configuration, arguments.one("SITE"));
    return places.ok() ? std::get<ReadSite>(action)(session, *configuration, *places, arguments)
                       : places.outcome();
}

Outcome Command::change(Transaction& transaction, const Arguments& arguments) const {
    if (const Change* plain = std::get_if<Change>(&action)) {
        return (*plain)(transaction, arguments);
    }
    const auto place = findRunning(transaction.configuration(), arguments.one("SITE"));
    return place.ok() ? std::get<ChangeSite>(action)(transaction, *place, arguments) : place.outcome();
}

const std::vector<Parameter>& commonOptions() {
    static const std::vector<Parameter> options = {
        {"--conf", Kind::Text, "FILE",
         "The server's main configuration file; without it, the installed server's"},
        {"--json", Kind::Flag, "", "Print one JSON document instead of columns"},
        {"--dry-run", Kind::Flag, "", "Do everything but the last step: nothing is changed"},
        {"--detailed-exitcode", Kind::Flag, "", "With --dry-run, exit with 8 when something would change"},
        {"--diff", Kind::Flag, "", "Print what changes as a unified diff"},
        {"--no-check", Kind::Flag, "", "Do not ask the server to check the configuration"},
        {"--no-reload", Kind::Flag, "", "Do not reload the server"},
        {"--exact", Kind::Flag, "", "Take the library's own result, with its side effects on the text"},
        {"--lock-timeout", Kind::Number, "SECONDS", "Wait this long for another run to end (30)"},
        {"--quiet", Kind::Flag, "", "Print data and errors only"},
        {"--verbose", Kind::Flag, "", "Also print what the operations and the server say"},
    };
    return options;
}

}  // namespace zpweb
