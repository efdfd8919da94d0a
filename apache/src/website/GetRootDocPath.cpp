#include <ostream>

#include "CZPWebsite.h"
#include "conf/DomainScope.h"
#include "conf/LineReader.h"
#include "host/Machine.h"

namespace conf = zp::conf;

std::string CZPWebsite::GetRootDocPath(std::string httpdConfFile, std::string domainName) {
    conf::LineReader reader(httpdConfFile, conf::bound::Lookup);
    if (!reader.isOpen()) {
        zp::host::out() << "Error while opening HttpdConfFile\n";
        return {};
    }
    conf::FirstNameScope scope(domainName);
    for (conf::Line line; reader.read(line);) {
        if (scope.enters(line) || scope.leaves(line) || !scope.inDomain() ||
            !line.begins(conf::keyword::DocumentRoot)) {
            continue;
        }
        if (const auto root = conf::betweenQuotes(line.raw())) {
            return std::string(*root);
        }
    }
    return {};
}
