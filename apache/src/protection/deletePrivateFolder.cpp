#include <ostream>

#include "PrivateFolder.h"
#include "Results.h"
#include "host/Machine.h"
#include "host/Report.h"
#include "shared/DirectoryProtection.h"

using zp::host::HeldFile;
using State = zp::host::HeldFile::State;
namespace host = zp::host;
namespace result = zp::result;

int PrivateFolder::deletePrivateFolder(std::string folderPath, std::string userName) {
    host::report(TrackManager, "deletePrivateFolder",
                 {{"NewPrivateFolderPath", folderPath}, {"", userName}});
    const zp::DirectoryProtection protection(folderPath);
    const HeldFile& passwordFile = protection.passwordFile();
    const State passwords = passwordFile.state();
    const State access = protection.accessFile().state();
    if (passwords == State::Blocked || passwords == State::Unknown || access == State::Unknown) {
        return result::protection::NotDeleted;
    }
    bool isUserExist = false;
    if (passwords == State::Present) {
        const bool ran = protection.deleteUser(userName);
        const auto size = passwordFile.size();
        if (!ran || !size) {
            return result::protection::NotDeleted;
        }
        isUserExist = *size != 0;
        if (!isUserExist && !passwordFile.remove()) {
            return result::protection::NotDeleted;
        }
    }
    if (isUserExist || access != State::Present) {
        return result::protection::UserDeleted;
    }
    host::out() << "cp_FF\n";
    return protection.lift() ? result::protection::UserDeleted : result::protection::NotDeleted;
}
