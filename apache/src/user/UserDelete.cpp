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

char CZPUsers::UserDelete(const char* UserName) {
    const std::string name = host::textOf(UserName);
    host::report(TrackManager, "UserDelete", {{"UserName", name}});
    Rewrite rewrite(host::webUsersFile(InsFolder, DomainName, FolderPath), host::textOf(TEMPFILE),
                    conf::bound::None);
    if (!rewrite.open()) {
        return rewrite.blame(result::ConfigurationNotOpened, result::ScratchNotOpened);
    }
    for (Line line; rewrite.read(line);) {
        if (!line.isEmpty() && !conf::isLineOfUser(line, name)) {
            rewrite.keep(line);
        }
    }
    return rewrite.putInPlace() ? result::user::Deleted
                                : rewrite.blame(result::ConfigurationNotOpened, result::ScratchNotOpened);
}
