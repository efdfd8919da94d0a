#include <ostream>

#include "ApacheHelper.h"
#include "conf/LineReader.h"
#include "conf/ServerLevel.h"
#include "host/Machine.h"

using zp::conf::Line;
using zp::conf::LineReader;
namespace conf = zp::conf;

bool ApacheHelper::Apache_isDirectiveWithValueExists(std::string apacheConfFile, std::string directive,
                                                     std::string value, bool isValueQuoted) {
    if (directive.empty()) {
        return false;
    }
    LineReader reader(apacheConfFile, conf::bound::DirectiveExists);
    for (Line line; reader.read(line);) {
        if (line.opensAddressedVirtualHost()) {
            if (!conf::skipVirtualHost(reader, conf::bound::DirectiveExists)) {
                break;
            }
            continue;
        }
        if (line.isComment() || line.isEmpty() || !line.begins(directive)) {
            continue;
        }
        if (!isValueQuoted) {
            zp::host::out() << "without quotes\n";
            if (line.restBehind(directive) == value) {
                zp::host::out() << "found\n";
                return true;
            }
        } else if (const auto quoted = conf::betweenQuotes(line.text())) {
            zp::host::out() << "returning with quote\n";
            if (*quoted == value) {
                return true;
            }
        }
    }
    return false;
}
