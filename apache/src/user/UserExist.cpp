#include <ostream>

#include "CZPUsers.h"
#include "Results.h"
#include "conf/LineReader.h"
#include "conf/WebUser.h"
#include "host/Machine.h"
#include "host/Report.h"
#include "host/WebUsers.h"

namespace conf = zp::conf;
namespace host = zp::host;
namespace result = zp::result;

char CZPUsers::UserExist(StringVector* UserList) {
    host::report(TrackManager, "UserExist", {host::NoArgument});
    conf::LineReader reader(host::webUsersFile(InsFolder, DomainName, FolderPath), conf::bound::None);
    if (!reader.isOpen()) {
        host::out() << "Error opening HttpdConfFile file\n";
        return result::ConfigurationNotOpened;
    }
    for (conf::Line line; reader.read(line);) {
        const auto name = conf::webUserOn(line);
        if (!name) {
            break;  // UserList goes on
        }
        UserList->emplace_back(*name);
    }
    return reader.failed() ? result::ConfigurationNotOpened : result::user::NamesListed;
}
