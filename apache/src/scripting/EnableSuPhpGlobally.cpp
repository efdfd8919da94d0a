#include "ApacheHelper.h"
#include "CZPWebsite.h"
#include "Results.h"
#include "conf/Rewrite.h"
#include "conf/ServerLevel.h"
#include "host/Fields.h"

using zp::conf::Line;
using zp::conf::Rewrite;
namespace conf = zp::conf;
namespace host = zp::host;
namespace keyword = zp::conf::keyword;
namespace result = zp::result;

namespace {

void writeEngineBlock(Rewrite& rewrite, const std::string& module) {
    rewrite.write("<IfModule " + module + ".c>");
    rewrite.write("\tsuPHP_Engine On");
    rewrite.write("</IfModule>");
}

// Only in the first column: an indented line of the engine stays, and so does its block.
void replaceEngineLines(Rewrite& rewrite, const std::string& module) {
    for (Line line; rewrite.read(line);) {
        if (line.beginsInFirstColumn(keyword::SuPhpEngine)) {
            writeEngineBlock(rewrite, module);
        } else {
            rewrite.keep(line);
        }
    }
}

void insertEngineBlock(Rewrite& rewrite, const std::string& module) {
    bool done = false;
    for (Line line; rewrite.read(line);) {
        if (!done &&
            (line.beginsInFirstColumn(keyword::Include) || line.beginsInFirstColumn(keyword::LoadModule))) {
            writeEngineBlock(rewrite, module);
            done = true;
        }
        rewrite.keep(line);
    }
}

}  // namespace

int CZPWebsite::EnableSuPhpGlobally(std::string Module) {
    const std::string file = host::textOf(HttpdConfFile);
    std::string value;
    const int found =
        ApacheHelper().Apache_getDirectiveValue(file, std::string(keyword::SuPhpEngine), value, false);
    if (found == result::helper::FileNotOpened) {
        return result::scripting::GlobalConfigurationNotOpened;
    }
    const bool exists = found == result::helper::Done;
    if (exists && conf::equalIgnoringCase(value, "On")) {
        return 0;
    }
    Rewrite rewrite(file, host::textOf(TEMPFILE), conf::bound::ServerLevel);
    if (!rewrite.open()) {
        return rewrite.blame(result::scripting::GlobalConfigurationNotOpened,
                             result::scripting::GlobalScratchNotOpened);
    }
    if (exists) {
        replaceEngineLines(rewrite, Module);
    } else {
        insertEngineBlock(rewrite, Module);
    }
    return rewrite.putInPlace() ? result::scripting::Done
                                : rewrite.blame(result::scripting::GlobalConfigurationNotOpened,
                                                result::scripting::GlobalScratchNotOpened);
}
