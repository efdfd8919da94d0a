#include "ApacheHelper.h"
#include "shared/DirectiveLines.h"

int ApacheHelper::Apache_AddDirectivesInVH(std::string apacheConfFile, std::string domainName,
                                           StringVector& directives) {
    StringVector added;
    for (const std::string& directive : directives) {
        added.push_back("\t" + directive);
    }
    return zp::appendToBlock(apacheConfFile, ".zpbackup.AD", domainName, added, zp::Blocks::First);
}
