#include <ostream>

#include "CZPVirtualDirectory.h"
#include "conf/Alias.h"
#include "conf/LineReader.h"
#include "host/Machine.h"

namespace conf = zp::conf;

std::string CZPVirtualDirectory::GetVDPath(std::string httpdConfFile, std::string domainName,
                                           std::string VDName) {
    conf::LineReader reader(httpdConfFile, conf::bound::None);
    if (!reader.isOpen()) {
        zp::host::out() << "Error while opening HttpdConfFile\n";
        return {};
    }
    conf::FirstNameScope scope(domainName);
    for (conf::Line line; reader.read(line);) {
        if (!conf::isAliasIn(scope, line)) {
            continue;
        }
        const conf::Alias alias = conf::aliasOn(line);
        if (alias.name == VDName) {
            return std::string(alias.target);
        }
    }
    return {};
}
