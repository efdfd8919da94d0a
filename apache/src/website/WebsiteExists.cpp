#include <ostream>

#include "CZPWebsite.h"
#include "Results.h"
#include "conf/DomainScope.h"
#include "conf/LineReader.h"
#include "host/Fields.h"
#include "host/Machine.h"
#include "host/Report.h"

namespace conf = zp::conf;

namespace {

constexpr char Exists = 31;
constexpr char NotFound = 32;

}  // namespace

char CZPWebsite::WebsiteExists(const char* domain) {
    const std::string name = zp::host::textOf(domain);
    zp::host::report(TrackManager, "WebsiteExists", {{"DomainName", name}});
    const std::string configuration = zp::host::textOf(HttpdConfFile);
    if (configuration.empty()) {
        return zp::result::NoConfigurationPath;
    }
    conf::LineReader reader(configuration, 1022);
    if (!reader.isOpen()) {
        zp::host::out() << "Error while opening HttpdConfFile\n";
        return zp::result::ConfigurationNotOpened;
    }
    conf::FirstNameScope scope(name);
    for (conf::Line line; reader.read(line);) {
        if (!scope.enters(line)) {
            scope.leaves(line, conf::keyword::VirtualHostEndTag);
        } else if (scope.inDomain()) {
            return Exists;
        }
    }
    return NotFound;
}
