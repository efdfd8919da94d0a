#include "ApacheHelper.h"
#include "shared/DirectoryEdit.h"

using zp::conf::Line;
using zp::conf::Rewrite;
namespace conf = zp::conf;

int ApacheHelper::Apache_deleteDirectoryTag(std::string apacheConfFile, std::string domainName,
                                            std::string dirPath) {
    const auto wanted = [&](const Line& line) { return zp::compareQuoted(line, dirPath); };
    return zp::editDirectory(apacheConfFile, "_temp5", domainName, wanted,
                             [](Rewrite& rewrite, const Line&) { return zp::skipDirectory(rewrite); });
}
