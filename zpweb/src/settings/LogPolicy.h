// How long the logs of sites are kept: one file for logrotate.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "sys/Outcome.h"

namespace zpweb {

struct LogPolicy {
    std::string when = "daily";  // "daily", "weekly" or "monthly"
    int keep = 14;
    std::string size{};  // rotated sooner when it is larger; empty: not
    std::vector<std::string> logs{};
};
// By the site's name.
using LogPolicies = std::map<std::string, LogPolicy>;

inline constexpr const char* LogPolicyFile = "/etc/logrotate.d/zpweb";

// Sites with the same policy, and whose logs the same account keeps, share a section, so that the server is
// reloaded once for them.
std::string policyText(const LogPolicies& policies, const std::string& reload);
LogPolicies policiesIn(const std::string& text);

// Why the site cannot have this policy: another site's, which differs, has one of its logs. Empty when it
// can.
std::string sharedWithOther(const LogPolicies& policies, const std::string& site, const LogPolicy& policy);

// A directory above that others than root can exchange, although the log's own is root's: logrotate works
// as root there, and could be led elsewhere. Empty when there is none.
std::string exchangeableAbove(const std::string& log);

// The file of logrotate that rotates this log already; empty when there is none besides ours.
std::string rotatedBy(const std::string& log);

}  // namespace zpweb
