#include "ApacheHelper.h"
#include "Results.h"
#include "conf/DomainScope.h"
#include "conf/LineReader.h"

using zp::conf::AnyNameScope;
using zp::conf::Line;
using zp::conf::LineReader;
namespace conf = zp::conf;
namespace result = zp::result;

int ApacheHelper::Apache_getDirectiveInVH(std::string apacheConfFile, std::string domainName,
                                          std::string directive, std::string& value, bool valueQuoted) {
    value.clear();
    LineReader reader(apacheConfFile, conf::bound::Directive);
    if (!reader.isOpen()) {
        return result::helper::FileNotOpened;
    }
    AnyNameScope scope(domainName);
    for (Line line; reader.read(line);) {
        // The ServerName line is taken before the directive is asked for: "ServerName" itself is never
        // found.
        if (line.isEmpty() || scope.enters(line)) {
            continue;
        }
        if (!scope.inDomain() || !line.begins(directive)) {
            scope.leaves(line);
            continue;
        }
        const std::string_view rest = line.restBehind(directive);
        if (!valueQuoted) {
            value = rest;
            return result::helper::Done;
        }
        const auto quoted = conf::betweenQuotes(rest);
        if (!quoted || rest.front() != '"') {
            return result::helper::QuotesMissing;
        }
        value = *quoted;
        return result::helper::Done;
    }
    return reader.failed() ? result::helper::FileNotOpened : result::helper::NotFoundInDomain;
}
