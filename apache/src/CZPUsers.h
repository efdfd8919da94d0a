// The web users of a site: one clear-text line "name:password" each, in a password file per domain and,
// when a directory is given, per directory: insFolder + "/etc/webusers/passwd." + domain [+ "_" +
// directory].
#pragma once

#include <CZPTrackManager.h>

#include <string>
#include <vector>

typedef std::vector<std::string> StringVector;

class [[gnu::visibility("default")]] CZPUsers {
public:
    explicit CZPUsers(CZPTrackManager * trackManager);
    CZPUsers(CZPTrackManager * trackManager, const char* insFolder, const char* domainName,
             const char* folderPath);
    CZPUsers(const CZPUsers&) = delete;
    CZPUsers& operator=(const CZPUsers&) = delete;
    ~CZPUsers();

    char UserCreate(const char* UserName, const char* Passwd);    // 77 added; 54 exists; 78 not possible
    char ChangePasswd(std::string UserName, std::string Passwd);  // 76 changed; 53 no such user; 22; 23
    char UserDelete(const char* UserName);                        // 79 done, found or not; 22; 23
    char UserList(StringVector * UserList);                       // 82 names appended; 22
    char UserExist(StringVector * UserList);                      // 81 names appended; 22
    char UserDeleteAll();                                         // 80, the file is removed

private:
    char* TEMPFILE = nullptr;
    const char* InsFolder = nullptr;
    const char* DomainName = nullptr;
    char* FolderPath = nullptr;
    CZPTrackManager* TrackManager = nullptr;
};
