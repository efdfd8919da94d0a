#include <ostream>

#include "ApacheHelper.h"
#include "CZPWebsite.h"
#include "Results.h"
#include "conf/Handlers.h"
#include "conf/Rewrite.h"
#include "conf/SiteDirectoryScan.h"
#include "host/Fields.h"
#include "host/Machine.h"
#include "host/Paths.h"

using zp::conf::Line;
using zp::conf::Rewrite;
using zp::conf::SiteDirectoryScan;
namespace conf = zp::conf;
namespace host = zp::host;
namespace result = zp::result;

int CZPWebsite::EnablePerl(std::string szDomainName) {
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
    const std::string handler = "\t\t" + std::string(conf::PerlHandler);
    SiteDirectoryScan scan(szDomainName, documentRoot, conf::DomainEnd::WithBlock);
    for (Line line; rewrite.read(line);) {
        if (line.isEmpty()) {
            continue;
        }
        rewrite.keep(line);
        if (scan.entersFolder(line)) {
            host::out() << handler << '\n';
            rewrite.write(handler);  // no look for one that is there: a second call adds a second line
            scan.leaveDomain();
        }
    }
    return rewrite.putInPlace() ? 0 : result::scripting::NotOpened;
}
