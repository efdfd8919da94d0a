#include "CZPWebsite.h"
#include "Results.h"
#include "conf/Handlers.h"
#include "host/Fields.h"
#include "shared/PerlRewrite.h"

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
    const auto edit = [](Rewrite& rewrite, SiteDirectoryScan& scan, const Line& line) {
        if (!scan.entersDirectory(line) && scan.inDirectory() && setsPerlHandler(line)) {
            scan.leaveDirectory();
        } else {
            rewrite.keep(line);
        }
    };
    return zp::rewriteForPerl(host::textOf(HttpdConfFile), szDomainName, edit)
               ? 0
               : result::scripting::NotOpened;
}
