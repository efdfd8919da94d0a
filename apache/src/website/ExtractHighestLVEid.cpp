#include <algorithm>

#include "CZPWebsite.h"
#include "conf/LineReader.h"

namespace conf = zp::conf;

namespace {

constexpr int BeforeFirstId = 1000;

}  // namespace

int CZPWebsite::ExtractHighestLVEid(std::string httpdConfFile) {
    conf::LineReader reader(httpdConfFile, conf::bound::None);
    if (!reader.isOpen()) {
        return 0;
    }
    int highest = 0;
    bool found = false;
    for (conf::Line line; reader.read(line);) {
        const std::string_view text = conf::skipBlanksThenTabs(line.raw());
        if (text.empty() || text.front() == '#' || !conf::contains(text, "LVEId")) {
            continue;
        }
        found = true;
        highest = std::max(highest, conf::leadingNumber(conf::splitAtBlank(text).rest));
    }
    if (reader.failed()) {
        return 0;
    }
    return found ? highest : BeforeFirstId;
}
