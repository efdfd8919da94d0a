#include "CZPVirtualDirectory.h"
#include "Results.h"
#include "conf/Alias.h"
#include "conf/LineReader.h"
#include "host/Fields.h"
#include "host/Report.h"
#include "shared/ReadConfiguration.h"

namespace conf = zp::conf;
namespace host = zp::host;
namespace result = zp::result;

char CZPVirtualDirectory::VirtualDirectoryList(const char* DomainName, StringVector* DDirList) {
    host::report(TrackManager, "VirtualDirectoryList", {host::NoArgument});
    zp::ReadConfiguration configuration(HttpdConfFile, conf::bound::None);
    if (!configuration.isOpen()) {
        return configuration.failure();
    }
    conf::FirstNameScope scope(host::textOf(DomainName));
    for (conf::Line line; configuration.read(line);) {
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
    return configuration.atEnd(result::directory::Listed);
}
