// The directories of a website.
#pragma once

#include <sys/types.h>

#include <string>

#include "host/Accounts.h"

namespace zp::host {

// Below a site's home, from it on.
namespace site {
inline constexpr const char* Content = "/www";
inline constexpr const char* Html = "/www/html";
inline constexpr const char* Scripts = "/www/cgi-bin";
inline constexpr const char* Logs = "/log";
inline constexpr const char* ServerLogs = "/log/httpd";
inline constexpr const char* Databases = "/db";
inline constexpr const char* Special = "/special";
inline constexpr const char* ErrorLog = "/log/httpd/error_log";
inline constexpr const char* AccessLog = "/log/httpd/access_log";

struct Directory {
    const char* path = nullptr;
    mode_t mode = 0;
    bool ofAdministrator = false;
};
// Each behind the one that it lies in. The set-user-ID bit on a directory has no meaning to Linux; the
// panel's other programs look for it.
inline constexpr Directory Directories[] = {
    {Content, 04701},         {Html, 04701},      {Scripts, 04701}, {Logs, 0505, true},
    {ServerLogs, 0505, true}, {Databases, 04707}, {Special, 04705}};
}  // namespace site

// Makes them below `home`, each only after the one before. The log directories go to the account named
// `administrator` and the panel's group, the others to `owner`. False at the first directory that cannot be
// made, or stands there already; the earlier ones stay.
[[nodiscard]] bool makeSiteDirectories(const std::string& home, const Account& owner,
                                       const std::string& administrator);

}  // namespace zp::host
