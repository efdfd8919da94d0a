#include "CZPUsers.h"
#include "Results.h"
#include "conf/LineReader.h"
#include "conf/WebUser.h"
#include "host/Report.h"
#include "host/WebUsers.h"

namespace conf = zp::conf;
namespace host = zp::host;
namespace result = zp::result;

char CZPUsers::UserList(StringVector* UserList) {
    host::report(TrackManager, "UserList", {host::NoArgument});
    conf::LineReader reader(host::webUsersFile(InsFolder, DomainName, FolderPath), conf::bound::None);
    if (!reader.isOpen()) {
        return result::ConfigurationNotOpened;
    }
    for (conf::Line line; reader.read(line);) {
        if (const auto name = conf::webUserOn(line)) {
            UserList->emplace_back(*name);
        }
    }
    return reader.failed() ? result::ConfigurationNotOpened : result::user::Listed;
}
