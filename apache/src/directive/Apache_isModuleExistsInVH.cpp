#include <ostream>

#include "ApacheHelper.h"
#include "conf/LineReader.h"
#include "host/Machine.h"

using zp::conf::Line;
using zp::conf::LineReader;
namespace conf = zp::conf;
namespace keyword = zp::conf::keyword;

bool ApacheHelper::Apache_isModuleExistsInVH(std::string httpdConfFile, std::string domainName,
                                             std::string moduleName) {
    LineReader reader(httpdConfFile, conf::bound::ModuleInSite);
    int openBlocks = 0;
    bool inDomain = false;
    for (Line line; reader.read(line);) {
        if (!line.begins("<") && !line.begins(keyword::ServerName)) {
            continue;
        }
        const auto [word, rest] = conf::splitAtBlank(line.text());
        if (conf::equalIgnoringCase(word, keyword::VirtualHost)) {
            ++openBlocks;
            inDomain = false;
        } else if (openBlocks == 1 && conf::equalIgnoringCase(word, keyword::ServerName)) {
            inDomain = conf::equalIgnoringCase(conf::skipSpace(rest), domainName);
        } else if (inDomain && conf::equalIgnoringCase(word, keyword::IfModule)) {
            const std::string_view argument = conf::skipSpace(rest);
            const std::string_view name = conf::upTo(argument, ".");
            if (name.size() == argument.size()) {
                continue;
            }
            zp::host::out() << "modname=" << name << '\n';
            if (conf::equalIgnoringCase(name, moduleName)) {
                return true;
            }
        } else if (conf::equalIgnoringCase(word, keyword::VirtualHostEndTag)) {
            openBlocks = 0;
        }
    }
    return false;
}
