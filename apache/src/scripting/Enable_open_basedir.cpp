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

int CZPWebsite::Enable_open_basedir(std::string szDomainName, std::string DirPath) {
    Rewrite rewrite(host::textOf(HttpdConfFile), host::textOf(TEMPFILE), conf::bound::SiteDirectory);
    if (!rewrite.sourceOpen()) {
        host::out() << "Error while opening HttpdConfFile\n";
    }
    if (!rewrite.open()) {
        return result::ConfigurationNotOpened;
    }
    const std::string restriction = "\t\tphp_admin_value open_basedir \"" + DirPath + "/:/tmp/\"";
    SiteDirectoryScan scan(szDomainName, DirPath, conf::DomainEnd::AtNextBlock);
    for (Line line; rewrite.read(line);) {
        if (line.isEmpty()) {
            continue;
        }
        if (!scan.entersFolder(line) && scan.inFolder()) {
            // A folder holds one such line at most, so whatever it sets makes room.
            const bool replaced = line.hasKeyword(keyword::PhpAdminValue);
            if (replaced || line.hasKeyword(keyword::DirectoryEndTag)) {
                rewrite.write(restriction);
                scan.leaveFolder();
            }
            if (replaced) {
                continue;
            }
        }
        rewrite.keep(line);
    }
    return rewrite.putInPlace() ? result::Changed : result::ConfigurationNotOpened;
}
