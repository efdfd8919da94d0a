#include "ApacheHelper.h"
#include "shared/DirectoryEdit.h"

using zp::conf::Line;
using zp::conf::Rewrite;
namespace conf = zp::conf;

int ApacheHelper::Apache_addDirectoryTag(std::string apacheConfFile, std::string domainName,
                                         std::string dirPath, StringVector& dirEntry) {
    const auto any = [](const Line&) { return zp::Match::Wanted; };
    return zp::editDirectory(apacheConfFile, "_temp4", domainName, any,
                             [&](Rewrite& rewrite, const Line& line) {
                                 rewrite.write(conf::openingLine(dirPath));
                                 zp::writeContents(rewrite, dirEntry);
                                 rewrite.keep(line);
                                 return true;
                             });
}
