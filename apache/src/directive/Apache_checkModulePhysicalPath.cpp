#include "ApacheHelper.h"
#include "CZPWebsite.h"
#include "Results.h"
#include "conf/ServerLevel.h"
#include "shared/ModuleFile.h"

using zp::conf::Line;
using zp::conf::LineReader;
namespace conf = zp::conf;
namespace result = zp::result;

int ApacheHelper::Apache_checkModulePhysicalPath(std::string apacheConfFile, std::string moduleName,
                                                 bool& isExist) {
    isExist = false;
    LineReader reader(apacheConfFile, conf::bound::ServerLevel);
    if (!reader.isOpen()) {
        return result::helper::FileNotOpened;
    }
    Line line;
    if (!conf::readServerLevel(reader, line)) {  // any line there will do
        return reader.failed() ? result::helper::FileNotOpened : result::helper::ModuleFileMissing;
    }
    isExist = LineReader(zp::moduleFile(CZPWebsite().getApacheModulesDir(apacheConfFile), moduleName), 0)
                  .isOpen();
    return isExist ? 0 : result::helper::ModuleFileMissing;
}
