#include "ApacheHelper.h"
#include "Results.h"
#include "conf/LineReader.h"
#include "conf/ServerLevel.h"

using zp::conf::Line;
using zp::conf::LineReader;
namespace conf = zp::conf;
namespace keyword = zp::conf::keyword;
namespace result = zp::result::helper;

int ApacheHelper::Apache_checkModule(std::string apacheConfFile, std::string moduleName, bool& isExist) {
    isExist = false;
    LineReader reader(apacheConfFile, conf::bound::ServerLevel);
    if (!reader.isOpen()) {
        return result::FileNotOpened;
    }
    for (Line line; conf::readServerLevel(reader, line);) {
        if (line.begins(keyword::LoadModule) &&
            conf::beginsIgnoringCase(line.restBehind(keyword::LoadModule), moduleName)) {
            isExist = true;
            return result::Done;
        }
    }
    return reader.failed() ? result::FileNotOpened : result::ModuleNotFound;
}
