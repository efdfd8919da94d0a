#include "cli/Documents.h"

#include "cli/Help.h"
#include "commands/table/Table.h"

namespace zpweb {

namespace {

void printOperations(std::ostream& out) {
    for (const Command& command : commandTable()) {
        for (const std::string_view operation : command.operations) {
            out << operation << "\t" << command.words << "\n";
        }
    }
}

void printOverallHelp(std::ostream& out) { static_cast<void>(printHelp(out, "")); }

}  // namespace

const std::vector<Document>& documents() {
    static const std::vector<Document> all = {
        {"help", "Tell about a command (help site create), or about all of them", printOverallHelp},
        {"manual", "Print the manual page", printManual},
        {"completion", "Print the bash completion", printCompletion},
        {"operations", "Print which of the library's operations each command calls", printOperations},
    };
    return all;
}

}  // namespace zpweb
