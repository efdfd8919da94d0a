#include <ostream>

#include "CZPWebsite.h"
#include "Results.h"
#include "conf/HeldLines.h"
#include "conf/Rewrite.h"
#include "host/Fields.h"
#include "host/Machine.h"
#include "host/Report.h"

using zp::conf::Line;
using zp::conf::Rewrite;
namespace conf = zp::conf;
namespace keyword = zp::conf::keyword;
namespace result = zp::result;

namespace {

// Copies the file without the domain's blocks and without empty lines between blocks.
void copyWithoutSite(Rewrite& rewrite, std::string_view domain) {
    conf::HeldLines block;
    bool inBlock = false;
    // Nothing but a ServerName line changes this, so a block without one goes the way of the block before.
    bool inDomain = false;
    for (Line line; rewrite.read(line);) {
        const Line live = line.withoutCommentMark();
        if (live.begins(keyword::VirtualHost)) {
            if (inBlock) {
                rewrite.keepAll(block.text());  // never closed, and kept whatever its name is
            }
            inBlock = true;
            block.clear();
            block.hold(line);
        } else if (!inBlock) {
            if (!line.isEmpty()) {
                rewrite.keep(line);
            }
        } else {
            block.hold(line);
            if (live.begins(keyword::ServerName)) {
                inDomain = live.namesServer(domain);
            } else if (live.begins(keyword::VirtualHostEndTag)) {
                inBlock = false;
                if (!inDomain) {
                    rewrite.keepAll(block.text());
                }
            }
        }
    }
    // A block that is still open here is lost.
}

}  // namespace

char CZPWebsite::DeleteWebsite(const char* pDName, char /*DomainType*/) {
    const std::string domain = zp::host::textOf(pDName);
    zp::host::report(TrackManager, "DeleteWebsite", {{"pDName", domain}});
    const std::string configuration = zp::host::textOf(HttpdConfFile);
    if (configuration.empty()) {
        return result::NoConfigurationPath;
    }
    Rewrite rewrite(configuration, zp::host::textOf(TEMPFILE), conf::bound::Deletion);
    if (!rewrite.sourceOpen()) {
        zp::host::out() << "Error opening HttpdConfFile file";
        return result::ConfigurationNotOpened;
    }
    if (!rewrite.scratchOpen()) {
        zp::host::out() << "Error opening TEMPFILE file";
        return result::ScratchNotOpened;
    }
    copyWithoutSite(rewrite, domain);
    return rewrite.putInPlace() ? result::website::Deleted
                                : rewrite.blame(result::ConfigurationNotOpened, result::ScratchNotOpened);
}
