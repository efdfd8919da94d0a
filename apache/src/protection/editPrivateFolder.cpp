#include "PrivateFolder.h"
#include "Results.h"
#include "host/Report.h"
#include "shared/DirectoryProtection.h"

namespace host = zp::host;
namespace result = zp::result;

namespace {

using Replaced = zp::DirectoryProtection::Replaced;

int changePassword(const std::string& directory, const std::string& userName,
                   const std::string& userPasswd) {
    const zp::DirectoryProtection protection(directory);
    if (!protection.passwordFile().isPresent() || !zp::isUserName(userName)) {
        return result::protection::NotEdited;
    }
    switch (protection.replaceUser(userName, userPasswd)) {
        case Replaced::No:
            return result::protection::NotDeletedForEdit;
        case Replaced::Deleted:
            return result::protection::NotEdited;
        case Replaced::Yes:
            break;
    }
    return result::protection::Edited;
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
    if (deleted != result::protection::UserDeleted) {
        return deleted;
    }
    const int added = addPrivateFolder(newFolderPath, userName, userPasswd);
    return added == result::protection::UserAdded ? result::protection::Edited : added;
}
