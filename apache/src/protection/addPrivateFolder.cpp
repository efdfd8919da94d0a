#include "PrivateFolder.h"
#include "Results.h"
#include "host/Report.h"
#include "host/Shell.h"
#include "shared/FolderProtection.h"

using zp::host::SiteFile;
namespace host = zp::host;
namespace result = zp::result;

namespace {

bool addUser(const zp::FolderProtection& protection, const std::string& userName,
             const std::string& userPasswd) {
    const SiteFile& file = protection.passwordFile();
    if (file.isPresent()) {
        return host::runThroughPipe(protection.addingCommand(userName, userPasswd));
    }
    // Made before the tool writes to it, so that the tool meets no link and never opens the passwords wider
    // than they end.
    if (!file.make()) {
        return false;
    }
    const bool ran = host::runThroughPipe(protection.makingCommand(userName, userPasswd));
    if (file.size() == 0) {
        file.remove();
    }
    return ran;
}

}  // namespace

int PrivateFolder::addPrivateFolder(std::string folderPath, std::string userName, std::string userPasswd) {
    host::report(TrackManager, "addPrivateFolder",
                 {{"NewPrivateFolderPath", folderPath},
                  {"PrivateFolderUserName", userName},
                  {"PrivateFolderUserPasswd", userPasswd}});
    const zp::FolderProtection protection(folderPath);
    if (!zp::isUserName(userName) || protection.passwordFile().isBlocked() ||
        !protection.demandPassword() || !addUser(protection, userName, userPasswd)) {
        return result::protection::NotAdded;
    }
    protection.passwordFile().setMode(zp::ReadOnlyForAll);
    return result::protection::UserAdded;
}
