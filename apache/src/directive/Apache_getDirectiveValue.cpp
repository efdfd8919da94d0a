#include <ostream>

#include "ApacheHelper.h"
#include "Results.h"
#include "conf/LineReader.h"
#include "conf/ServerLevel.h"
#include "host/Machine.h"

using zp::conf::Line;
using zp::conf::LineReader;
namespace conf = zp::conf;
namespace result = zp::result;

int ApacheHelper::Apache_getDirectiveValue(std::string apacheConfFile, std::string directive,
                                           std::string& value, bool isValueQuoted) {
    value.clear();
    if (directive.empty()) {
        return result::helper::NoDirective;
    }
    LineReader reader(apacheConfFile, conf::bound::ServerLevel);
    if (!reader.isOpen()) {
        return result::helper::FileNotOpened;
    }
    for (Line line; conf::readServerLevel(reader, line);) {
        if (!line.begins(directive)) {
            continue;
        }
        if (!isValueQuoted) {
            value = line.restBehind(directive);
            return result::helper::Done;
        }
        const auto quoted = conf::betweenQuotes(line.text());
        if (!quoted) {
            return result::helper::QuotesMissing;
        }
        zp::host::out() << "returning with quote\n";
        value = *quoted;
        return result::helper::Done;
    }
    return reader.failed() ? result::helper::FileNotOpened : result::helper::NotFound;
}
