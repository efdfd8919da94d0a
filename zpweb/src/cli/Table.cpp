#include <algorithm>

#include "cli/Command.h"
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

Expected<Configuration> Session::load() const {
    const auto main = realPathOf(settings.configuration);
    if (!main.ok()) {
        return main.outcome();
    }
    output.step("reading the configuration");
    return Configuration::load(*main);
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
