#include "shared/DirectiveLines.h"

#include "conf/DomainScope.h"
#include "shared/ApacheHelperResults.h"

namespace zp {

using conf::FirstNameScope;
using conf::Line;
using conf::Rewrite;

std::string directiveLine(const std::string& directive, const std::string& value, bool quoted) {
    return quoted ? "\t" + directive + " \"" + value + "\"" : "\t" + directive + " " + value;
}

int appendToBlock(const std::string& file, const std::string& backupSuffix, const std::string& domain,
                  const StringVector& added, Blocks blocks) {
    conf::backUp(file, backupSuffix);
    Rewrite rewrite(file, file + "_zpbackup_ACEP", conf::bound::AddDirective);
    if (!rewrite.open()) {
        return result::helper::NotAdded;
    }
    FirstNameScope scope(domain);
    bool done = false;
    for (Line line; rewrite.read(line);) {
        if (!done || blocks == Blocks::All) {
            // A commented-out tag or ServerName counts as a live one.
            const Line live = line.withoutCommentMark();
            const bool inDomain = scope.inDomain();
            if (!scope.enters(live) && scope.leaves(live) && inDomain) {
                for (const std::string& text : added) {
                    rewrite.write(text);
                }
                done = true;
            }
        }
        rewrite.keep(line);
    }
    if (!done) {
        rewrite.discard();
        return result::helper::NotAdded;
    }
    return rewrite.putInPlace() ? result::helper::Done : result::helper::NotAdded;
}

}  // namespace zp
