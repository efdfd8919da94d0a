#include <ostream>

#include "PrivateFolder.h"
#include "host/Machine.h"
#include "host/Report.h"
#include "shared/FolderProtection.h"

using zp::host::SiteFile;
namespace host = zp::host;

namespace {

constexpr int Deleted = 1603;
constexpr int Failed = 1604;

}  // namespace

int PrivateFolder::deletePrivateFolder(std::string folderPath, std::string userName) {
    host::report(TrackManager, "deletePrivateFolder",
                 {{"NewPrivateFolderPath", folderPath}, {"", userName}});
    const zp::FolderProtection protection(folderPath);
    const SiteFile& passwordFile = protection.passwordFile();
    if (passwordFile.isBlocked()) {
        return Failed;
    }
    bool isUserExist = false;
    if (passwordFile.isPresent()) {
        const bool ran = zp::runShown(protection.deletingCommand(userName));
        const auto size = passwordFile.size();
        if (!ran || !size) {
            return Failed;
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
    return Deleted;
}
