#include "ApacheHelper.h"
#include "conf/Rewrite.h"
#include "shared/ApacheHelperResults.h"

using zp::conf::Line;
using zp::conf::Rewrite;
namespace conf = zp::conf;
namespace keyword = zp::conf::keyword;
namespace result = zp::result;

namespace {

bool beginsWithOneOf(const Line& line, const StringVector& directives) {
    for (const std::string& directive : directives) {
        if (line.begins(directive + " ")) {
            return true;
        }
    }
    return false;
}

// Copies lines up to and including the one that names the domain in an addressed block. False without one.
bool copyToServerName(Rewrite& rewrite, const std::string& domain) {
    bool inBlock = false;
    for (Line line; rewrite.read(line);) {
        if (line.isEmpty()) {
            continue;
        }
        rewrite.keep(line);
        if (line.opensAddressedVirtualHost()) {
            inBlock = true;
        } else if (inBlock && line.namesServer(domain)) {
            return true;
        } else if (line.begins(keyword::VirtualHostEndTag)) {
            inBlock = false;
        }
    }
    return false;
}

}  // namespace

int ApacheHelper::Apache_DeleteDirectivesInVH(std::string apacheConfFile, std::string domainName,
                                              StringVector& directives) {
    conf::backUp(apacheConfFile, ".zpbackup.drt");
    Rewrite rewrite(apacheConfFile, apacheConfFile + "_temp11", conf::bound::Directive);
    if (!rewrite.open()) {
        return result::failureOf(rewrite);
    }
    bool done = false;
    if (copyToServerName(rewrite, domainName)) {
        for (Line line; rewrite.read(line);) {
            if (line.isEmpty() || (!done && !line.begins(keyword::VirtualHostEndTag) && !line.isComment() &&
                                   beginsWithOneOf(line, directives))) {
                continue;
            }
            done = done || line.begins(keyword::VirtualHostEndTag);
            rewrite.keep(line);
        }
    }
    return result::finish(rewrite, done, result::helper::DomainNotFound);
}
