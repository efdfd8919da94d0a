// Every result that operations answer with, once. A number that has two names means two things.
#pragma once

namespace zp::result {

inline constexpr char NoConfigurationPath = 21;
inline constexpr char ConfigurationNotOpened = 22;
inline constexpr char ScratchNotOpened = 23;
inline constexpr char Changed = 96;  // by the merge of a record, suPHP and open_basedir

namespace website {
inline constexpr char Created = 94;
inline constexpr char AlreadyThere = 92;
inline constexpr char DirectoryNotMade = 2;
inline constexpr char Deleted = 24;  // also when there was no such site
inline constexpr char Exists = 31;
inline constexpr char NotFound = 32;
inline constexpr char InfoRead = 25;
inline constexpr char InfoNotFound = 26;
inline constexpr char InfoWithoutMode = 27;  // the document root cannot be examined
inline constexpr char Listed = 28;           // names, or addresses
inline constexpr char Started = 29;          // also when there was no such site
inline constexpr char Stopped = 30;          // also when there was no such site
inline constexpr char IsRunning = 34;
inline constexpr char IsStopped = 33;
inline constexpr char NoStatus = 1;
inline constexpr char MovedToShared = 121;
inline constexpr char MovedToOwn = 123;
}  // namespace website

namespace panelPort {
inline constexpr char Added = 0;
inline constexpr char ConfigurationNotOpened = 1;
inline constexpr char NoConfigurationPath = 15;
}  // namespace panelPort

namespace hostHeader {
inline constexpr char Changed = 0;
inline constexpr char NotChanged = 1;
inline constexpr char AlreadyThere = 2;
}  // namespace hostHeader

namespace log {
inline constexpr int Rotated = 1;  // or too small for it
inline constexpr int NotRotated = 0;
}  // namespace log

// Perl, suPHP, hosting limits.
namespace scripting {
inline constexpr int Done = 0;
inline constexpr int NotOpened = 21;  // the configuration or, with Perl and suPHP's end, the scratch file
inline constexpr int BlockTooLong = 87;
inline constexpr int GlobalConfigurationNotOpened = 1;  // of the whole server's part
inline constexpr int GlobalScratchNotOpened = 2;
}  // namespace scripting

namespace server {
inline constexpr int UserNotFound = 1;
inline constexpr int GroupNotFound = 2;
inline constexpr int RestartAsked = 0;
inline constexpr int RestartNotAsked = 1;
}  // namespace server

namespace directory {
inline constexpr char Created = 83;
inline constexpr char AlreadyThere = 1;
inline constexpr char Deleted = 85;
inline constexpr char Updated = 89;
inline constexpr char InfoRead = 86;           // found or not
inline constexpr char Malformed = 87;          // a directory line lacks its closing quote: creation, update
inline constexpr char MalformedOtherwise = 1;  // the same where it is deleted or looked up
inline constexpr char Exists = 1;
inline constexpr char NotFound = 0;
inline constexpr char Listed = 0;
inline constexpr char AliasFound = 125;
inline constexpr char AliasNotFound = 88;
inline constexpr char AliasMalformed = 1;
}  // namespace directory

namespace user {
inline constexpr char Added = 77;
inline constexpr char AlreadyThere = 54;
inline constexpr char NotPossible = 78;
inline constexpr char PasswordChanged = 76;
inline constexpr char NotFound = 53;
inline constexpr char Deleted = 79;  // also when there was no such user
inline constexpr char AllDeleted = 80;
inline constexpr char NamesListed = 81;  // up to the first line that is no user's
inline constexpr char Listed = 82;
}  // namespace user

namespace protection {
inline constexpr int UserAdded = 1602;
inline constexpr int NotAdded = 1601;
inline constexpr int UserDeleted = 1603;
inline constexpr int NotDeleted = 1604;
inline constexpr int Edited = 1605;
inline constexpr int NotEdited = 1606;
inline constexpr int NotDeletedForEdit = 1501;
}  // namespace protection

// ApacheHelper.
namespace helper {
inline constexpr int Done = 0;
inline constexpr int FileNotOpened = 1;
inline constexpr int TemporaryNotCreated = 2;
inline constexpr int NotAdded = 1;     // no such domain, or no file
inline constexpr int NoDirective = 2;  // none was asked for
inline constexpr int ModuleNotFound = 2;
inline constexpr int QuotesMissing = 3;
inline constexpr int DomainNotFound = 3;  // or, where something of it is changed, no line of the kind
inline constexpr int BlockUnclosed = 3;
inline constexpr int NotFoundInDomain = 4;
inline constexpr int ModuleFileMissing = 4;
inline constexpr int ModuleNotAppended = 4;
inline constexpr int NotFound = 6;
}  // namespace helper

namespace rails {
inline constexpr int Done = 0;
inline constexpr int ConfigurationNotOpened = 1;
inline constexpr int ScratchNotOpened = 2;
inline constexpr int Malformed = 3;
inline constexpr int BlockNotFound = 4;
inline constexpr int NoDocumentRoot = 5;
inline constexpr int NotUpdated = 6;
inline constexpr int DirectoryNotMade = 7;
inline constexpr int BlockNotAdded = 8;
}  // namespace rails

}  // namespace zp::result
