#include "CZPVirtualDirectory.h"
#include "Results.h"
#include "conf/Alias.h"
#include "conf/LineReader.h"
#include "host/Fields.h"
#include "host/Report.h"

namespace conf = zp::conf;
namespace host = zp::host;
namespace result = zp::result;

char CZPVirtualDirectory::VirtualDirectoryList(const char* DomainName, StringVector* DDirList) {
    host::report(TrackManager, "VirtualDirectoryList", {host::NoArgument});
    const std::string configuration = host::textOf(HttpdConfFile);
    if (configuration.empty()) {
        return result::NoConfigurationPath;
    }
    conf::LineReader reader(configuration, conf::bound::None);
    if (!reader.isOpen()) {
        return result::ConfigurationNotOpened;
    }
    conf::FirstNameScope scope(host::textOf(DomainName));
    for (conf::Line line; reader.read(line);) {
        if (conf::isAliasIn(scope, line)) {
            const conf::Alias alias = conf::aliasOn(line);
            if (alias.hasTarget) {
                DDirList->emplace_back(alias.target);
                DDirList->emplace_back(conf::stepOver(alias.name, 1));  // without its "/"
            }
        } else {
            scope.leaves(line, conf::keyword::VirtualHostEndTag);
        }
    }
    return result::directory::Listed;
}
