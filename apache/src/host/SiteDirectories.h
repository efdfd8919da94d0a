// The directories of a website.
#pragma once

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
}  // namespace site

// Makes them below `home`, each only after the one before. The log directories go to the account named
// `administrator` and the panel's group, the others to `owner`. False at the first directory that cannot be
// made, or stands there already; the earlier ones stay.
[[nodiscard]] bool makeSiteDirectories(const std::string& home, const Account& owner,
                                       const std::string& administrator);

}  // namespace zp::host
