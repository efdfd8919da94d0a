#include "ApacheHelper.h"
#include "shared/DirectoryEdit.h"

using zp::conf::Line;
using zp::conf::Rewrite;
namespace conf = zp::conf;

int ApacheHelper::Apache_UpdateDirectoryTagPath(std::string apacheConfFile, std::string domainName,
                                                std::string oldPath, std::string newPath) {
    const auto wanted = [&](const Line& line) { return zp::compare(conf::directoryOf(line), oldPath); };
    return zp::editDirectory(apacheConfFile, "_temp2", domainName, wanted,
                             [&](Rewrite& rewrite, const Line&) {
                                 rewrite.write(conf::openingLine(newPath));
                                 return true;
                             });
}
