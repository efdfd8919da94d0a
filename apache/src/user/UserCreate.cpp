#include <ostream>

#include "CZPUsers.h"
#include "Results.h"
#include "conf/AppendLine.h"
#include "conf/LineReader.h"
#include "conf/WebUser.h"
#include "host/Machine.h"
#include "host/Report.h"
#include "host/WebUsers.h"

namespace conf = zp::conf;
namespace host = zp::host;
namespace result = zp::result;

namespace {

// A name with a colon would be read back as another user's.
bool isUserName(const std::string& name) { return !name.empty() && !conf::contains(name, ":"); }

}  // namespace

char CZPUsers::UserCreate(const char* UserName, const char* Passwd) {
    const std::string name = host::textOf(UserName);
    const std::string password = host::textOf(Passwd);
    host::report(TrackManager, "UserCreate", {{"UserName", name}, {"Passwd", password}});
    const std::string file = host::webUsersFile(InsFolder, DomainName, FolderPath);
    conf::LineReader reader(file, conf::bound::None);
    if (!reader.isOpen()) {
        host::out() << "Error opening passwd file\n";
        return result::user::NotPossible;
    }
    if (!isUserName(name)) {
        return result::user::NotPossible;
    }
    for (conf::Line line; reader.read(line);) {
        if (conf::isLineOfUser(line, name)) {
            return result::user::AlreadyThere;
        }
    }
    if (reader.failed() || !conf::appendLine(file, conf::webUserLine(name, password))) {
        host::out() << "Error opening file\n";
        return result::user::NotPossible;
    }
    return result::user::Added;
}
