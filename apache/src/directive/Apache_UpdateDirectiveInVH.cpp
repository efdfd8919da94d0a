#include "ApacheHelper.h"
#include "conf/DomainScope.h"
#include "conf/Rewrite.h"
#include "shared/ApacheHelperResults.h"
#include "shared/DirectiveLines.h"

using zp::conf::AnyNameScope;
using zp::conf::Line;
using zp::conf::Rewrite;
namespace conf = zp::conf;
namespace result = zp::result;

int ApacheHelper::Apache_UpdateDirectiveInVH(std::string apacheConfFile, std::string domainName,
                                             std::string directive, std::string value, bool valueQuoted) {
    conf::backUp(apacheConfFile, ".zpbackup.rt");
    Rewrite rewrite(apacheConfFile, apacheConfFile + "_temp1", conf::bound::Directive);
    if (!rewrite.open()) {
        return result::failureOf(rewrite);
    }
    AnyNameScope scope(domainName);
    bool done = false;
    for (Line line; rewrite.read(line);) {
        if (line.isEmpty()) {
            continue;
        }
        if (!scope.enters(line)) {
            if (scope.inDomain() && line.begins(directive)) {
                rewrite.write(zp::directiveLine(directive, value, valueQuoted));
                scope.leaveDomain();  // later lines of the same directive stay
                done = true;
                continue;
            }
            scope.leaves(line);
        }
        rewrite.keep(line);
    }
    return result::finish(rewrite, done, result::helper::DomainNotFound);
}
