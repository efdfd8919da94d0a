// param delete: deletes a line of a file.
#include "FileHandling.h"
#include "commands/Commands.h"
#include "commands/shared/ParameterLine.h"

namespace zpweb {

namespace {

Outcome deleteParam(Transaction& change, const Arguments& given) {
    return goneIsUpToDate(
        editLine(change, ParameterLine(given), [](const ParameterLine& line, const std::string& staged) {
            return FileHandling().delParamFromFile(staged, line.name, line.value, line.delimiter,
                                                   ParameterComment)
                       ? done()
                       : failure("the line could not be changed");
        }));
}

}  // namespace

Command paramDelete() {
    return {
        .words = "param delete",
        .summary = "Delete it",
        .action = deleteParam,
        .parameters = {ParameterFile, ParameterName, ParameterValue, Delimiter},
        .operations = {"FileHandling::delParamFromFile"},
        .examples = {"param delete /etc/sysctl.d/web.conf net.core.somaxconn 4096 --delimiter equals"},
    };
}

}  // namespace zpweb
