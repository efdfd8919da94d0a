#include <ostream>

#include "CZPWebsite.h"
#include "Results.h"
#include "conf/DomainScope.h"
#include "conf/LineReader.h"
#include "host/Fields.h"
#include "host/Machine.h"
#include "host/Report.h"
#include "shared/ReadConfiguration.h"

namespace conf = zp::conf;
namespace result = zp::result;

char CZPWebsite::WebsiteExists(const char* domain) {
    const std::string name = zp::host::textOf(domain);
    zp::host::report(TrackManager, "WebsiteExists", {{"DomainName", name}});
    zp::ReadConfiguration configuration(HttpdConfFile, conf::bound::Lookup,
                                        "Error while opening HttpdConfFile\n");
    if (!configuration.isOpen()) {
        return configuration.failure();
    }
    conf::FirstNameScope scope(name);
    for (conf::Line line; configuration.read(line);) {
        if (!scope.enters(line)) {
            scope.leaves(line, conf::keyword::VirtualHostEndTag);
        } else if (scope.inDomain()) {
            return result::website::Exists;
        }
    }
    return configuration.atEnd(result::website::NotFound);
}
