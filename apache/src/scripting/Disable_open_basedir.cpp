#include <ostream>

#include "CZPWebsite.h"
#include "Results.h"
#include "conf/Rewrite.h"
#include "conf/SiteDirectoryScan.h"
#include "host/Fields.h"
#include "host/Machine.h"

using zp::conf::Line;
using zp::conf::Rewrite;
using zp::conf::SiteDirectoryScan;
namespace conf = zp::conf;
namespace host = zp::host;
namespace keyword = zp::conf::keyword;
namespace result = zp::result;

int CZPWebsite::Disable_open_basedir(std::string szDomainName, std::string DirPath) {
    Rewrite rewrite(host::textOf(HttpdConfFile), host::textOf(TEMPFILE), conf::bound::SiteDirectory);
    if (!rewrite.sourceOpen()) {
        host::out() << "Error while opening HttpdConfFile\n";
    }
    if (!rewrite.open()) {
        return result::ConfigurationNotOpened;
    }
    SiteDirectoryScan scan(szDomainName, DirPath, conf::DomainEnd::AtNextBlock);
    for (Line line; rewrite.read(line);) {
        if (line.isEmpty()) {
            continue;
        }
        if (!scan.entersFolder(line) && scan.inFolder()) {
            const bool dropped = line.hasKeyword(keyword::PhpAdminValue);  // whatever it sets
            if (dropped || line.hasKeyword(keyword::DirectoryEndTag)) {
                scan.leaveFolder();
            }
            if (dropped) {
                continue;
            }
        }
        rewrite.keep(line);
    }
    return rewrite.putInPlace() ? result::Changed : result::ConfigurationNotOpened;
}
