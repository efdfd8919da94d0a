#include "ApacheHelper.h"
#include "CZPWebsite.h"
#include "Results.h"
#include "conf/Handlers.h"
#include "conf/Rewrite.h"
#include "conf/SiteDirectoryScan.h"
#include "host/Fields.h"
#include "host/Paths.h"

using zp::conf::Line;
using zp::conf::Rewrite;
using zp::conf::SiteDirectoryScan;
namespace conf = zp::conf;
namespace host = zp::host;
namespace result = zp::result;

namespace {

bool setsPerlHandler(const Line& line) {
    return line.hasKeyword(conf::keyword::AddHandler) &&
           conf::equalIgnoringCase(line.argumentOf(conf::keyword::AddHandler),
                                   conf::splitAtBlank(conf::PerlHandler).rest);
}

}  // namespace

int CZPWebsite::DisablePerl(std::string szDomainName) {
    const std::string file = host::textOf(HttpdConfFile);
    std::string documentRoot;
    if (ApacheHelper().Apache_getDirectiveInVH(file, szDomainName, "DocumentRoot", documentRoot, true) ==
        result::helper::FileNotOpened) {
        return result::scripting::NotOpened;
    }
    Rewrite rewrite(file, host::path::PerlScratch, conf::bound::SiteDirectory,
                    Rewrite::Order::ScratchFirst);
    if (!rewrite.open()) {
        rewrite.discard();
        return result::scripting::NotOpened;
    }
    SiteDirectoryScan scan(szDomainName, documentRoot, conf::DomainEnd::WithBlock);
    for (Line line; rewrite.read(line);) {
        if (line.isEmpty()) {
            continue;
        }
        if (!scan.entersFolder(line) && scan.inFolder() && setsPerlHandler(line)) {
            scan.leaveFolder();
            continue;
        }
        rewrite.keep(line);
    }
    return rewrite.putInPlace() ? 0 : result::scripting::NotOpened;
}
