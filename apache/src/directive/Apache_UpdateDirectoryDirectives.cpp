#include "ApacheHelper.h"
#include "shared/DirectoryEdit.h"

using zp::conf::Line;
using zp::conf::Rewrite;
namespace conf = zp::conf;

int ApacheHelper::Apache_UpdateDirectoryDirectives(std::string apacheConfFile, std::string domainName,
                                                   std::string dirPath, StringVector& entry) {
    const auto wanted = [&](const Line& line) { return zp::compareQuoted(line, dirPath); };
    return zp::editDirectory(apacheConfFile, "_temp3", domainName, wanted,
                             [&](Rewrite& rewrite, const Line& line) {
                                 rewrite.keep(line);
                                 zp::writeContents(rewrite, entry);
                                 return zp::skipDirectory(rewrite);
                             });
}
