// Host headers are the further names of a site, kept on its ServerAlias line with single blanks between
// them.
#include <ostream>

#include "ApacheHelper.h"
#include "CZPWebsite.h"
#include "Results.h"
#include "conf/Line.h"
#include "host/Fields.h"
#include "host/Machine.h"
#include "host/Report.h"

namespace keyword = zp::conf::keyword;
namespace result = zp::result;

namespace {

// A name that begins a longer one of the list counts as listed: what stands behind it is not looked at.
bool isListed(const std::string& names, const std::string& name) {
    for (size_t at = names.find(name); at != std::string::npos; at = names.find(name, at + 1)) {
        if (at == 0 || names[at - 1] == ' ') {
            return true;
        }
    }
    return false;
}

}  // namespace

char CZPWebsite::AddHostHeader(std::string domainName, std::string hostHeader) {
    zp::host::report(TrackManager, "AddHostHeader",
                     {{"DomainName", domainName}, {"HostHeader", hostHeader}});
    const std::string configuration = zp::host::textOf(HttpdConfFile);
    ApacheHelper helper;
    std::string names;
    if (helper.Apache_getDirectiveInVH(configuration, domainName, std::string(keyword::ServerAlias), names,
                                       false) != 0) {
        return result::hostHeader::NotChanged;
    }
    if (isListed(names, hostHeader)) {
        return result::hostHeader::AlreadyThere;
    }
    const std::string extended = names.size() > 2 ? names + " " + hostHeader : hostHeader;
    if (helper.Apache_UpdateDirectiveInVH(configuration, domainName, std::string(keyword::ServerAlias),
                                          extended, false) != 0) {
        zp::host::out() << "Update error\n";
        return result::hostHeader::NotChanged;
    }
    return result::hostHeader::Changed;
}
