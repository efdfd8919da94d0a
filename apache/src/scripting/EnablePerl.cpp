#include <ostream>

#include "CZPWebsite.h"
#include "Results.h"
#include "conf/Handlers.h"
#include "host/Fields.h"
#include "host/Machine.h"
#include "shared/PerlRewrite.h"

using zp::conf::Line;
using zp::conf::Rewrite;
using zp::conf::SiteDirectoryScan;
namespace conf = zp::conf;
namespace host = zp::host;
namespace result = zp::result;

int CZPWebsite::EnablePerl(std::string szDomainName) {
    const std::string handler = "\t\t" + std::string(conf::PerlHandler);
    const auto edit = [&](Rewrite& rewrite, SiteDirectoryScan& scan, const Line& line) {
        rewrite.keep(line);
        if (scan.entersDirectory(line)) {
            host::out() << handler << '\n';
            rewrite.write(handler);  // no look for one that is there: a second call adds a second line
            scan.leaveDomain();
        }
    };
    return zp::rewriteForPerl(host::textOf(HttpdConfFile), szDomainName, edit)
               ? 0
               : result::scripting::NotOpened;
}
