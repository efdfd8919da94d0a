#include <ostream>

#include "ApacheHelper.h"
#include "Results.h"
#include "conf/LineReader.h"
#include "conf/ServerLevel.h"
#include "host/Machine.h"

using zp::conf::Line;
using zp::conf::LineReader;
namespace conf = zp::conf;
namespace result = zp::result::helper;

int ApacheHelper::Apache_getDirectiveValue(std::string apacheConfFile, std::string directive,
                                           std::string& value, bool isValueQuoted) {
    value.clear();
    if (directive.empty()) {
        return result::NoDirective;
    }
    LineReader reader(apacheConfFile, conf::bound::ServerLevel);
    if (!reader.isOpen()) {
        return result::FileNotOpened;
    }
    for (Line line; conf::readServerLevel(reader, line);) {
        if (!line.begins(directive)) {
            continue;
        }
        if (!isValueQuoted) {
            value = line.restBehind(directive);
            return result::Done;
        }
        const auto quoted = conf::betweenQuotes(line.text());
        if (!quoted) {
            return result::QuotesMissing;
        }
        zp::host::out() << "returning with quote\n";
        value = *quoted;
        return result::Done;
    }
    return reader.failed() ? result::FileNotOpened : result::NotFound;
}
