#include "ApacheHelper.h"
#include "Results.h"
#include "conf/LineReader.h"
#include "conf/ServerLevel.h"

using zp::conf::Line;
using zp::conf::LineReader;
namespace conf = zp::conf;
namespace keyword = zp::conf::keyword;
namespace result = zp::result;

int ApacheHelper::Apache_checkModule(std::string apacheConfFile, std::string moduleName, bool& isExist) {
    isExist = false;
    LineReader reader(apacheConfFile, conf::bound::ServerLevel);
    if (!reader.isOpen()) {
        return result::helper::FileNotOpened;
    }
    for (Line line; conf::readServerLevel(reader, line);) {
        if (line.begins(keyword::LoadModule) &&
            conf::beginsIgnoringCase(line.restBehind(keyword::LoadModule), moduleName)) {
            isExist = true;
            return result::helper::Done;
        }
    }
    return reader.failed() ? result::helper::FileNotOpened : result::helper::ModuleNotFound;
}
