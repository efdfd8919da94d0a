#include "CZPUsers.h"
#include "host/File.h"
#include "host/Report.h"
#include "host/WebUsers.h"

namespace host = zp::host;

namespace {

constexpr char Done = 80;

}  // namespace

char CZPUsers::UserDeleteAll() {
    host::report(TrackManager, "UserDeleteAll", {host::NoArgument});
    host::removeFile(host::webUsersFile(InsFolder, DomainName, FolderPath));
    return Done;
}
