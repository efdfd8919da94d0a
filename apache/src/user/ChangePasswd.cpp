#include "CZPUsers.h"
#include "Results.h"
#include "conf/Rewrite.h"
#include "conf/WebUser.h"
#include "host/Report.h"
#include "host/WebUsers.h"

using zp::conf::Line;
using zp::conf::Rewrite;
namespace conf = zp::conf;
namespace host = zp::host;
namespace result = zp::result;

char CZPUsers::ChangePasswd(std::string UserName, std::string Passwd) {
    host::report(TrackManager, "ChangePasswd", {{"UserName", UserName}, {"Passwd", Passwd}});
    Rewrite rewrite(host::webUsersFile(InsFolder, DomainName, FolderPath), host::textOf(TEMPFILE),
                    conf::bound::None);
    if (!rewrite.open()) {
        return rewrite.blame(result::ConfigurationNotOpened, result::ScratchNotOpened);
    }
    bool updated = false;
    for (Line line; rewrite.read(line);) {
        if (conf::isLineOfUser(line, UserName)) {
            rewrite.write(conf::webUserLine(UserName, Passwd));
            updated = true;
        } else if (!line.isEmpty()) {
            rewrite.keep(line);
        }
    }
    if (!rewrite.putInPlace()) {
        return rewrite.blame(result::ConfigurationNotOpened, result::ScratchNotOpened);
    }
    return updated ? result::user::PasswordChanged : result::user::NotFound;
}
