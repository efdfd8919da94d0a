#include "shared/OpenBasedir.h"

#include <ostream>

#include "conf/Rewrite.h"
#include "conf/SiteDirectoryScan.h"
#include "host/Machine.h"

namespace zp {

namespace keyword = conf::keyword;
using conf::Line;

bool setOpenBasedir(const std::string& configuration, const std::string& scratch, const std::string& domain,
                    const std::string& directory, const std::optional<std::string>& restriction) {
    conf::Rewrite rewrite(configuration, scratch, conf::bound::SiteDirectory);
    if (!rewrite.sourceOpen()) {
        host::out() << "Error while opening HttpdConfFile\n";
    }
    if (!rewrite.open()) {
        return false;
    }
    conf::SiteDirectoryScan scan(domain, directory, conf::DomainEnd::AtNextBlock);
    for (Line line; rewrite.read(line);) {
        if (line.isEmpty()) {
            continue;
        }
        if (!scan.entersDirectory(line) && scan.inDirectory()) {
            const bool sets = line.hasKeyword(keyword::PhpAdminValue);
            if (sets || line.hasKeyword(keyword::DirectoryEndTag)) {
                scan.leaveDirectory();
                if (restriction) {
                    rewrite.write(*restriction);
                }
            }
            if (sets) {
                continue;
            }
        }
        rewrite.keep(line);
    }
    return rewrite.putInPlace();
}

}  // namespace zp
