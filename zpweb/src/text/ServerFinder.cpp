#include "text/ServerFinder.h"

#include <algorithm>

#include "conf/Line.h"
#include "text/Words.h"

namespace zpweb {

void ServerFinder::take(const LineStart& line, bool inCondition) {
    // "" where there is no such directive, or nothing behind it.
    const auto behind = [&](std::string_view directive) {
        return isDirective(line.text, directive)
                   ? zp::conf::trimEnd(logicalLine(line.text.substr(directive.size())))
                   : std::string_view();
    };
    std::string_view value;
    switch (zp::conf::lower(line.text.front())) {
        case 'i':
            for (const bool optional : {false, true}) {
                value = behind(optional ? "IncludeOptional" : "Include");
                if (!value.empty()) {
                    found_.includes.push_back({line.number, values_.first(value), optional});
                }
            }
            return;
        case 'u':
            value = behind("Use");
            if (!value.empty()) {
                found_.uses.push_back({line.number, value});
            }
            return;
        case 'd':
            value = behind("Define");
            values_.define(value);
            if (!value.empty()) {
                found_.defines.push_back({line.number, value});
            }
            return;
        case 's':
            keepFirst(found_.root, behind("ServerRoot"));
            return;
        case 'p':
            keepFirst(found_.pidFile, behind("PidFile"));
            return;
        default:
            if (value = behind("Listen"); !value.empty()) {
                (inCondition ? found_.listenPerhaps : found_.listen).push_back(values_.first(value));
            } else if (value = behind("LoadModule"); !value.empty()) {
                found_.modules.push_back(values_.first(value));
            }
    }
}

void ServerFinder::takeHandler(const LineStart& line) {
    constexpr std::string_view Handlers[] = {"AddHandler", "AddType", "SetHandler", "ProxyPassMatch"};
    if (std::any_of(std::begin(Handlers), std::end(Handlers),
                    [&](std::string_view each) { return isDirective(line.text, each); })) {
        found_.handlers.push_back(line.number);
    }
}

void ServerFinder::keepFirst(std::string_view& kept, std::string_view arguments) {
    if (!arguments.empty()) {
        kept = values_.first(arguments);
    }
}

}  // namespace zpweb
