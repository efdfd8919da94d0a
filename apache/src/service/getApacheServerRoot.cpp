#include "CZPWebsite.h"
#include "conf/LineReader.h"
#include "host/Paths.h"
#include "host/Shell.h"

namespace conf = zp::conf;

namespace {

std::string rootInConfiguration(const std::string& httpdConfFile) {
    conf::LineReader reader(httpdConfFile, conf::bound::ServerRoot);
    for (conf::Line line; reader.read(line);) {
        if (line.beginsInFirstColumn(conf::keyword::ServerRoot)) {
            return std::string(conf::betweenQuotes(line.raw()).value_or(""));
        }
    }
    return {};
}

// The server's own answer reads:  -D HTTPD_ROOT="/etc/apache2" and a line end.
std::string rootOfServer() {
    std::string_view value;
    const std::string answer = zp::host::firstLine(zp::host::program::ServerRootQuery, 49);
    const size_t equals = answer.find('=');
    if (equals == std::string::npos) {
        return {};
    }
    value = std::string_view(answer).substr(equals + 1);
    if (!conf::contains(answer, "\"")) {
        return std::string(conf::upTo(value, "\r\n"));
    }
    value = conf::stepOver(value, 1);
    return std::string(value.substr(0, value.size() < 2 ? 0 : value.size() - 2));
}

}  // namespace

std::string CZPWebsite::getApacheServerRoot(std::string httpdConfFile) {
    const std::string root = rootInConfiguration(httpdConfFile);
    return root.empty() ? rootOfServer() : root;
}
