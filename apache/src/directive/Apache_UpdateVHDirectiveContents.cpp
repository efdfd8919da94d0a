#include "ApacheHelper.h"
#include "conf/DomainScope.h"
#include "conf/Rewrite.h"
#include "shared/ApacheHelperResults.h"

using zp::conf::AnyNameScope;
using zp::conf::Line;
using zp::conf::Rewrite;
namespace conf = zp::conf;
namespace keyword = zp::conf::keyword;
namespace result = zp::result;

int ApacheHelper::Apache_UpdateVHDirectiveContents(std::string apacheConfFile, std::string domainName,
                                                   std::string directive, std::string value,
                                                   bool addValue) {
    conf::backUp(apacheConfFile, ".zpbackup.rt");
    Rewrite rewrite(apacheConfFile, apacheConfFile + "_temp12", conf::bound::Directive);
    if (!rewrite.open()) {
        return result::failureOf(rewrite);
    }
    AnyNameScope scope(domainName);
    bool inNested = false;
    bool valueFound = false;
    bool done = false;
    for (Line line; rewrite.read(line);) {
        if (line.isEmpty()) {
            continue;
        }
        if (scope.enters(line)) {
            // copied
        } else if (scope.inDomain() && line.begins(directive)) {
            inNested = true;
        } else if (inNested && line.begins(value)) {
            valueFound = true;
            if (!addValue) {
                continue;
            }
        } else if (inNested && line.begins(keyword::DirectoryEndTag)) {
            if (!valueFound) {  // added also when the caller asked for a deletion: callers rely on it
                rewrite.write("\t\t" + value);
            }
            inNested = false;
            done = true;
        } else {
            scope.leaves(line);
        }
        rewrite.keep(line);
    }
    return result::finish(rewrite, done, result::helper::DomainNotFound);
}
