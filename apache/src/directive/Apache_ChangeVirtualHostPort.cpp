#include "ApacheHelper.h"
#include "conf/Address.h"
#include "conf/Rewrite.h"
#include "shared/ApacheHelperResults.h"

using zp::conf::Line;
using zp::conf::Rewrite;
namespace conf = zp::conf;
namespace keyword = zp::conf::keyword;
namespace result = zp::result;

int ApacheHelper::Apache_ChangeVirtualHostPort(std::string apacheConfFile, std::string domainName,
                                               std::string ip, std::string port) {
    conf::backUp(apacheConfFile, ".zpbackup.cp");
    Rewrite rewrite(apacheConfFile, apacheConfFile + "_zpbackup_cp", conf::bound::Port);
    if (!rewrite.open()) {
        return result::failureOf(rewrite);
    }
    bool inBlock = false;
    bool done = false;
    std::string opening;
    for (Line line; rewrite.read(line);) {
        if (!done && line.opensAddressedVirtualHost()) {
            // Held until the ServerName line: what stands between the two comes out before it, and a block
            // without a ServerName line loses it.
            inBlock = true;
            opening = line.raw();
            continue;
        }
        if (!done && inBlock && line.begins(keyword::ServerName)) {
            done = line.namesServer(domainName);
            inBlock = false;
            rewrite.write(done ? "<VirtualHost " + conf::inBrackets(ip) + ":" + port + ">" : opening);
        } else if (line.begins(keyword::VirtualHostEnd)) {
            inBlock = false;
        }
        rewrite.keep(line);
    }
    return result::finish(rewrite, done, result::helper::DomainNotFound);
}
