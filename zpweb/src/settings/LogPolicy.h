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

    bool operator==(const LogPolicy&) const = default;
    // With other logs, perhaps.
    bool hasSameTermsAs(const LogPolicy& other) const;
};
// By the site's name.
using LogPolicies = std::map<std::string, LogPolicy>;

inline constexpr const char* LogPolicyFile = "/etc/logrotate.d/zpweb";

// Sites with the same policy, and whose logs the same account keeps, share a section, so that the server is
// reloaded once for them.
std::string policyText(const LogPolicies& policies, const std::string& reload);
LogPolicies policiesIn(const std::string& text);

// The policies of all sites, with which sites have which log.
class PolicyList {
public:
    explicit PolicyList(LogPolicies policies);

    const LogPolicies& all() const { return policies_; }
    const LogPolicy* of(const std::string& site) const;
    void set(const std::string& site, LogPolicy policy);
    void erase(const std::string& site);
    void clear();
    // Grows with what is no longer as it was.
    size_t changes() const { return changes_; }

    // Why the site cannot have this policy: another site's, which differs, has one of its logs. Empty when
    // it can.
    std::string sharedWithOther(const std::string& site, const LogPolicy& policy) const;

private:
    LogPolicies policies_;
    std::multimap<std::string, std::string> sitesOf_;  // by log
    size_t changes_ = 0;
};

// A directory above that others than root can exchange, although the log's own is root's: logrotate works
// as root there, and could be led elsewhere. Empty when there is none.
std::string exchangeableAbove(const std::string& log);
// The directory of a log that is its owner's, who cannot write there: nothing is rotated; empty: another
// one.
std::string unwritableAt(const std::string& log);

// What the other files of logrotate rotate: patterns, each with its file.
struct Rotation {
    std::string pattern, file;
};
std::vector<Rotation> otherRotations();
// The file that rotates this log already; empty when there is none.
std::string rotatedBy(const std::vector<Rotation>& rotations, const std::string& log);

}  // namespace zpweb
