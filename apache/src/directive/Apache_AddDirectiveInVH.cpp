#include "ApacheHelper.h"
#include "shared/DirectiveLines.h"

int ApacheHelper::Apache_AddDirectiveInVH(std::string apacheConfFile, std::string domainName,
                                          std::string directive, std::string value, bool valueQuoted) {
    const StringVector added{zp::directiveLine(directive, value, valueQuoted)};
    return zp::appendToBlock(apacheConfFile, ".zpbackup.ACEP", domainName, added, zp::Blocks::All);
}
