#include <ostream>

#include "CZPWebsite.h"
#include "conf/Address.h"
#include "conf/LineReader.h"
#include "host/Machine.h"

namespace conf = zp::conf;
namespace keyword = zp::conf::keyword;

bool CZPWebsite::LookupDomainInConfFile(std::string DomainName, std::string httpdConfFile,
                                        std::string& szIPAdrr) {
    if (httpdConfFile.empty()) {
        return false;
    }
    conf::LineReader reader(httpdConfFile, conf::bound::None);
    if (!reader.isOpen()) {
        zp::host::out() << "Error while opening HttpdConfFile\n";
        return true;  // callers take this for "nothing to be found elsewhere"
    }
    std::string opening;  // of the block; empty outside one
    for (conf::Line line; reader.read(line);) {
        // Tags count in this letter case alone, and the closing one with nothing behind it.
        if (line.beginsInExactCase(keyword::VirtualHost)) {
            opening = line.text();
        } else if (line.text() == keyword::VirtualHostEndTag) {
            opening.clear();
        } else if (!opening.empty() && line.begins(keyword::ServerName) && !DomainName.empty() &&
                   conf::equalIgnoringCase(line.restBehind(keyword::ServerName), DomainName)) {
            szIPAdrr = conf::blockAddress(conf::Line(opening), conf::Bracket::First);
            return true;
        }
    }
    return reader.failed();
}
