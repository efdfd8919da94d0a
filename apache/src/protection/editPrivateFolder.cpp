#include "PrivateFolder.h"
#include "host/Report.h"
#include "shared/FolderProtection.h"

namespace host = zp::host;

namespace {

constexpr int Deleted = 1603;
constexpr int UserAdded = 1602;
constexpr int Edited = 1605;
constexpr int NotEdited = 1606;
constexpr int NotDeleted = 1501;

int changePassword(const std::string& folder, const std::string& userName, const std::string& userPasswd) {
    const zp::FolderProtection protection(folder);
    if (!protection.passwordFile().isPresent() || !zp::isUserName(userName)) {
        return NotEdited;
    }
    if (!zp::runShown(protection.deletingCommand(userName))) {
        return NotDeleted;
    }
    return zp::runShown(protection.addingCommand(userName, userPasswd)) ? Edited : NotEdited;
}

}  // namespace

int PrivateFolder::editPrivateFolder(std::string newFolderPath, std::string oldFolderPath,
                                     std::string userName, std::string userPasswd) {
    host::report(TrackManager, "editPrivateFolder",
                 {{"NewPrivateFolderPath", newFolderPath},
                  {"OldPrivateFolderPath", oldFolderPath},
                  {"PrivateFolderUserName", userName},
                  {"PrivateFolderUserPasswd", userPasswd}});
    if (newFolderPath == oldFolderPath) {
        return changePassword(oldFolderPath, userName, userPasswd);
    }
    const int deleted = deletePrivateFolder(oldFolderPath, userName);
    if (deleted != Deleted) {
        return deleted;
    }
    const int added = addPrivateFolder(newFolderPath, userName, userPasswd);
    return added == UserAdded ? Edited : added;
}
