#include "CZPUsers.h"
#include "Results.h"
#include "host/FileSystem.h"
#include "host/Report.h"
#include "host/WebUsers.h"

namespace host = zp::host;
namespace result = zp::result;

char CZPUsers::UserDeleteAll() {
    host::report(TrackManager, "UserDeleteAll", {host::NoArgument});
    host::removeFile(host::webUsersFile(InsFolder, DomainName, FolderPath));
    return result::user::AllDeleted;
}
