#include "PrivateFolder.h"
#include "Results.h"
#include "host/Report.h"
#include "shared/DirectoryProtection.h"

namespace host = zp::host;
namespace result = zp::result;

int PrivateFolder::addPrivateFolder(std::string folderPath, std::string userName, std::string userPasswd) {
    host::report(TrackManager, "addPrivateFolder",
                 {{"NewPrivateFolderPath", folderPath},
                  {"PrivateFolderUserName", userName},
                  {"PrivateFolderUserPasswd", userPasswd}});
    const zp::DirectoryProtection protection(folderPath);
    if (!zp::isUserName(userName) || !protection.passwordFile().isUsable() ||
        !protection.demandPassword() || !protection.addUser(userName, userPasswd)) {
        return result::protection::NotAdded;
    }
    return result::protection::UserAdded;
}
