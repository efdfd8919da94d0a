#include <ostream>

#include "CZPWebsite.h"
#include "Results.h"
#include "conf/DomainScope.h"
#include "conf/LineReader.h"
#include "host/Fields.h"
#include "host/Machine.h"
#include "host/Report.h"

namespace conf = zp::conf;
namespace result = zp::result;

char CZPWebsite::WebsiteExists(const char* domain) {
    const std::string name = zp::host::textOf(domain);
    zp::host::report(TrackManager, "WebsiteExists", {{"DomainName", name}});
    const std::string configuration = zp::host::textOf(HttpdConfFile);
    if (configuration.empty()) {
        return result::NoConfigurationPath;
    }
    conf::LineReader reader(configuration, conf::bound::Lookup);
    if (!reader.isOpen()) {
        zp::host::out() << "Error while opening HttpdConfFile\n";
        return result::ConfigurationNotOpened;
    }
    conf::FirstNameScope scope(name);
    for (conf::Line line; reader.read(line);) {
        if (!scope.enters(line)) {
            scope.leaves(line, conf::keyword::VirtualHostEndTag);
        } else if (scope.inDomain()) {
            return result::website::Exists;
        }
    }
    return result::website::NotFound;
}
