#include "ApacheHelper.h"
#include "conf/Rewrite.h"
#include "shared/ApacheHelperResults.h"

using zp::conf::Line;
using zp::conf::Rewrite;
namespace conf = zp::conf;
namespace keyword = zp::conf::keyword;
namespace result = zp::result;

namespace {

// Copies the file with `entry` before its `lineCount`th line, unless that line is empty or not there.
int insertAtLine(const std::string& file, const std::string& entry, int lineCount) {
    Rewrite rewrite(file, file + ".wd1", conf::bound::AddDirective);
    if (!rewrite.open()) {
        return result::failureOf(rewrite);
    }
    int number = 0;
    for (Line line; rewrite.read(line);) {
        ++number;  // empty lines count, though they are dropped
        if (line.isEmpty()) {
            continue;
        }
        if (number == lineCount) {
            rewrite.write(entry);
        }
        rewrite.keep(line);
    }
    return result::finish(rewrite, true, 0);
}

}  // namespace

int ApacheHelper::Apache_writeDirective(std::string apacheConfFile, std::string entry,
                                        std::string reference, bool beforeReference, int lineCount) {
    conf::backUp(apacheConfFile, ".zpbackup.rt");
    Rewrite rewrite(apacheConfFile, apacheConfFile + ".wd", conf::bound::AddDirective);
    if (!rewrite.open()) {
        return result::failureOf(rewrite);
    }
    bool inBlock = false;
    bool done = false;
    for (Line line; rewrite.read(line);) {
        if (line.isEmpty()) {
            continue;
        }
        if (line.begins(keyword::VirtualHost)) {
            inBlock = true;
        } else if (line.begins(keyword::VirtualHostEnd)) {
            inBlock = false;
        } else if (!done && !inBlock && line.begins(reference)) {
            done = true;
            if (beforeReference) {
                rewrite.write(entry);
                rewrite.keep(line);
            } else {
                rewrite.keep(line);
                rewrite.write(entry);
            }
            continue;
        }
        rewrite.keep(line);
    }
    if (!done && !rewrite.source().failed()) {
        rewrite.discard();
        return insertAtLine(apacheConfFile, entry, lineCount);
    }
    return result::finish(rewrite, true, 0);
}
