#include "shared/PerlRewrite.h"

#include "ApacheHelper.h"
#include "Results.h"
#include "host/Paths.h"

namespace zp {

bool rewriteForPerl(const std::string& configuration, const std::string& domain, const PerlEdit& edit) {
    std::string documentRoot;
    if (ApacheHelper().Apache_getDirectiveInVH(configuration, domain, "DocumentRoot", documentRoot, true) ==
        result::helper::FileNotOpened) {
        return false;
    }
    conf::Rewrite rewrite(configuration, host::path::PerlScratch, conf::bound::SiteDirectory,
                          conf::Rewrite::Order::ScratchFirst);
    if (!rewrite.open()) {
        rewrite.discard();
        return false;
    }
    conf::SiteDirectoryScan scan(domain, documentRoot, conf::DomainEnd::WithBlock);
    for (conf::Line line; rewrite.read(line);) {
        if (!line.isEmpty()) {
            edit(rewrite, scan, line);
        }
    }
    return rewrite.putInPlace();
}

}  // namespace zp
