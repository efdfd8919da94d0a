// param edit: changes a line's value.
#include "FileHandling.h"
#include "commands/Commands.h"
#include "commands/shared/ParameterLine.h"

namespace zpweb {

namespace {

constexpr auto NewValue = needed("NEW", Kind::Text, "The new value");

Outcome edit(Transaction& change, const Arguments& given) {
    return editLine(
        change, ParameterLine(given), [&](const ParameterLine& line, const std::string& staged) {
            return FileHandling().editParamValueInFile(staged, line.name, line.value, given[NewValue],
                                                       line.delimiter, ParameterComment)
                       ? done()
                       : failure("the line could not be changed");
        });
}

}  // namespace

Command paramEdit() {
    return {
        .words = "param edit",
        .summary = "Change its value",
        .action = edit,
        .parameters = {ParameterFile, ParameterName, ParameterValue, NewValue, Delimiter},
        .operations = {"FileHandling::editParamValueInFile"},
        .more = "The library drops the comments and empty lines of the file.",
        .examples = {"param edit /etc/sysctl.d/web.conf net.core.somaxconn 4096 8192 --delimiter equals"},
    };
}

}  // namespace zpweb
