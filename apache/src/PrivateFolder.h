// Directories behind a password, through Apache's per-directory files ".htaccess" and ".htpasswd".
#pragma once

#include <CZPTrackManager.h>

#include <string>

class [[gnu::visibility("default")]] PrivateFolder {
public:
    explicit PrivateFolder(CZPTrackManager * trackManager);

    // Protects the directory and adds a user with "htpasswd". 1602 added; 1601 failed.
    int addPrivateFolder(std::string folderPath, std::string userName, std::string userPasswd);
    // Removes the user, and the protection with the last one. 1603 done; 1604 failed.
    int deletePrivateFolder(std::string folderPath, std::string userName);
    // Changes a user's password, or moves the user to another directory. 1605 done; 1606, 1501 or a result
    // of the two above when it failed.
    int editPrivateFolder(std::string newFolderPath, std::string oldFolderPath, std::string userName,
                          std::string userPasswd);

private:
    CZPTrackManager* TrackManager = nullptr;
};
