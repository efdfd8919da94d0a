// Host headers are the further names of a site, kept on its ServerAlias line with single blanks between
// them.
#include <ostream>

#include "ApacheHelper.h"
#include "CZPWebsite.h"
#include "Results.h"
#include "conf/Line.h"
#include "conf/Text.h"
#include "host/Fields.h"
#include "host/Machine.h"
#include "host/Report.h"

namespace conf = zp::conf;
namespace keyword = zp::conf::keyword;
namespace result = zp::result;

namespace {

// Every name behind the first brings a blank along, also when the first was left out: callers know the
// blank that then heads the list.
std::string without(std::string_view names, std::string_view unwanted) {
    std::string kept;
    bool first = true;
    const auto take = [&](std::string_view name) {
        const bool wanted = name != unwanted;
        if (wanted) {
            kept.append(first ? "" : " ").append(name);
        }
        first = false;
        return wanted;
    };
    while (conf::contains(names, " ")) {
        const auto [name, rest] = conf::splitAtBlank(names);
        zp::host::out() << "Ptr1=" << name << '\n';
        if (!take(name)) {
            zp::host::out() << "matched\n";
        }
        names = conf::skipSpace(rest);
    }
    take(names);
    return kept;
}

}  // namespace

char CZPWebsite::DeleteHostHeader(std::string domainName, std::string hostHeader) {
    zp::host::report(TrackManager, "DeleteHostHeader",
                     {{"DomainName", domainName}, {"HostHeader", hostHeader}});
    const std::string configuration = zp::host::textOf(HttpdConfFile);
    ApacheHelper helper;
    std::string names;
    if (helper.Apache_getDirectiveInVH(configuration, domainName, std::string(keyword::ServerAlias), names,
                                       false) != 0) {
        return result::hostHeader::NotChanged;
    }
    const std::string kept = without(names, hostHeader);
    return helper.Apache_UpdateDirectiveInVH(configuration, domainName, std::string(keyword::ServerAlias),
                                             kept, false) == 0
               ? result::hostHeader::Changed
               : result::hostHeader::NotChanged;
}
