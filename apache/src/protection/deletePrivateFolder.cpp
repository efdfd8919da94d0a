#include <ostream>

#include "PrivateFolder.h"
#include "Results.h"
#include "host/Machine.h"
#include "host/Report.h"
#include "shared/FolderProtection.h"

using zp::host::HeldFile;
namespace host = zp::host;
namespace result = zp::result;

int PrivateFolder::deletePrivateFolder(std::string folderPath, std::string userName) {
    host::report(TrackManager, "deletePrivateFolder",
                 {{"NewPrivateFolderPath", folderPath}, {"", userName}});
    const zp::FolderProtection protection(folderPath);
    const HeldFile& passwordFile = protection.passwordFile();
    if (passwordFile.isBlocked()) {
        return result::protection::NotDeleted;
    }
    bool isUserExist = false;
    if (passwordFile.isPresent()) {
        const bool ran = protection.deleteUser(userName, zp::FolderProtection::Command::Shown);
        const auto size = passwordFile.size();
        if (!ran || !size) {
            return result::protection::NotDeleted;
        }
        isUserExist = *size != 0;
        if (!isUserExist) {
            passwordFile.remove();
        }
    }
    if (!isUserExist && protection.accessFile().isPresent()) {
        host::out() << "cp_FF\n";
        protection.lift();
    }
    return result::protection::UserDeleted;
}
