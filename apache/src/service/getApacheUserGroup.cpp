#include <ostream>

#include "ApacheHelper.h"
#include "CZPWebsite.h"
#include "Results.h"
#include "conf/LineReader.h"
#include "host/Machine.h"
#include "host/Paths.h"

namespace conf = zp::conf;
namespace result = zp::result;

namespace {

// The text between "{" and "}" of ${NAME}; empty when the value is no such reference.
std::string_view variableIn(std::string_view value) {
    const size_t open = value.find('{');
    const size_t close = value.find('}', open == std::string_view::npos ? 0 : open);
    if (!conf::contains(value, "$") || open == std::string_view::npos || close == std::string_view::npos) {
        return {};
    }
    return value.substr(open + 1, close - open - 1);
}

// Puts the variable's value in the place of a reference to it. The server's environment file sets variables
// in the shell's way: NAME=value, with or without "export".
void resolveVariable(std::string& value) {
    const std::string assignment = std::string(variableIn(value)) + "=";
    if (assignment.size() == 1) {
        return;
    }
    conf::LineReader reader(zp::host::path::ApacheEnvironment, conf::bound::None);
    if (!reader.isOpen()) {
        zp::host::out() << "Error while opening file\n";
    }
    constexpr std::string_view exported = "export ";
    for (conf::Line line; reader.read(line);) {
        std::string_view text = line.text();
        if (text.substr(0, exported.size()) == exported) {
            text = conf::skipSpace(text.substr(exported.size()));
        }
        if (text.substr(0, assignment.size()) == assignment) {
            text = conf::trimEnd(text.substr(assignment.size()));
            value = conf::betweenQuotes(text).value_or(text);
            return;
        }
    }
}

}  // namespace

int CZPWebsite::getApacheUserGroup(std::string httpdConfFile, std::string& apacheUser,
                                   std::string& apacheGroup) {
    ApacheHelper helper;
    if (helper.Apache_getDirectiveValue(httpdConfFile, "User", apacheUser, false) != 0) {
        zp::host::out() << "Apache user not found\n";
        return result::server::UserNotFound;
    }
    if (helper.Apache_getDirectiveValue(httpdConfFile, "Group", apacheGroup, false) != 0) {
        zp::host::out() << "Apache group not found\n";
        return result::server::GroupNotFound;
    }
    resolveVariable(apacheUser);
    resolveVariable(apacheGroup);
    return 0;
}
