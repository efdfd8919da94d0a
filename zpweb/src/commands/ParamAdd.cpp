// param add: adds a line to a file.
#include "FileHandling.h"
#include "commands/Commands.h"
#include "commands/shared/ParameterLine.h"

namespace zpweb {

namespace {

Outcome addParam(Transaction& change, const Arguments& given) {
    return editAnyFile(change, ParameterLine(given),
                       [](const ParameterLine& line, const std::string& staged) {
                           return line.isIn(staged) || FileHandling().addParamInFile(staged, line.text())
                                      ? done()
                                      : failure("cannot add the line");
                       });
}

}  // namespace

Command paramAdd() {
    return {
        .words = "param add",
        .summary = "Add such a line",
        .action = addParam,
        .parameters = {ParameterFile, ParameterName, ParameterValue, Delimiter},
        .operations = {"FileHandling::addParamInFile"},
        .examples = {"param add /etc/sysctl.d/web.conf net.core.somaxconn 4096 --delimiter equals"},
    };
}

}  // namespace zpweb
