#include <ostream>

#include "CZPWebsite.h"
#include "conf/BlockNames.h"
#include "conf/LineReader.h"
#include "host/Machine.h"

namespace conf = zp::conf;

bool CZPWebsite::VHostsInIncFile(std::string file, StringVector& websites) {
    if (file.empty()) {
        return true;
    }
    conf::LineReader reader(file, conf::bound::Lookup);
    if (!reader.isOpen()) {
        zp::host::out() << "Error while opening HttpdConfFile\n";
    }
    conf::BlockNames blocks;
    for (conf::Line line; reader.read(line);) {
        if (const auto name = blocks.nameOn(line)) {
            websites.emplace_back(*name);
        }
    }
    return true;
}
