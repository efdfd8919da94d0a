// param test: tells whether a file has a line.
#include "commands/Commands.h"
#include "commands/shared/Operation.h"
#include "commands/shared/ParameterLine.h"

namespace zpweb {

namespace {

Outcome test(Session& session, const Arguments& given) {
    const ParameterLine line(given);
    const bool found = quietly(session.output, [&] { return line.isIn(line.file); });
    session.output.set("line", line.text());
    return found ? done() : line.missing();
}

}  // namespace

Command paramTest() {
    return {
        .words = "param test",
        .summary = "Tell whether a file has a line of a name and a value",
        .action = test,
        .parameters = {ParameterFile, ParameterName, ParameterValue, Delimiter},
        .operations = {"FileHandling::isParamValueExistsInFile"},
        .examples = {"param test /etc/sysctl.d/web.conf net.core.somaxconn 4096 --delimiter equals"},
    };
}

}  // namespace zpweb
