#include "settings/LogPolicy.h"

#include <fnmatch.h>
#include <grp.h>
#include <pwd.h>
#include <sys/stat.h>

#include <algorithm>
#include <set>
#include <sstream>

#include "input/Fields.h"
#include "input/Json.h"
#include "sys/File.h"
#include "sys/GuardedDirectory.h"
#include "sys/Look.h"

namespace zpweb {

namespace {

constexpr const char* Title = "# Logs of websites. Written by zpweb: log policy.\n# ";
constexpr const char* RotationDirectory = "/etc/logrotate.d";

SortedJson documentOf(const LogPolicies& policies) {
    SortedJson json = SortedJson::object();
    for (const auto& [site, policy] : policies) {
        json[site] = {
            {"when", policy.when}, {"keep", policy.keep}, {"size", policy.size}, {"logs", policy.logs}};
    }
    return json;
}

// Whose ground it is. What an owner has taken away, mounted or put a link in the place of for this moment
// is of the account that has the first directory on the way that is not root's.
struct stat groundOf(const std::string& directory) {
    struct stat status {};
    const auto held = openGuarded(directory);
    if (held.ok() && ::fstat(held->number(), &status) == 0) {
        return status;
    }
    for (size_t end = directory.find('/', 1); status.st_uid == 0 && end != std::string::npos;
         end = directory.find('/', end + 1)) {
        if (!lookAt(directory.substr(0, end), status)) {
            return {};
        }
    }
    return status;
}

// Who does the work where the directory is not root's: root itself would be led by what is placed there.
std::string accountLine(const std::string& log) {
    const struct stat status = groundOf(directoryOf(log));
    if (status.st_uid == 0) {
        return "    create\n";  // as the log is: a site's owner goes on reading it
    }
    const passwd* user = ::getpwuid(status.st_uid);
    const group* members = ::getgrgid(status.st_gid);
    user = user != nullptr ? user : ::getpwuid(status.st_uid);  // a search may fail for a moment
    members = members != nullptr ? members : ::getgrgid(status.st_gid);
    if (user == nullptr || members == nullptr) {
        return {};
    }
    const std::string names = std::string(user->pw_name) + " " + members->gr_name;
    return "    su " + names + "\n    create 0640 " + names + "\n";
}

// Can others than root exchange the directory, or move it?
bool isOthers(const struct stat& directory) {
    return directory.st_uid != 0 || (directory.st_mode & (S_IWGRP | S_IWOTH)) != 0;
}

std::string optionsOf(const LogPolicy& policy, const std::string& log) {
    return "    " + policy.when + "\n    rotate " + std::to_string(policy.keep) + "\n" +
           (policy.size.empty() ? "" : "    maxsize " + policy.size + "\n") +
           "    missingok\n    notifempty\n    compress\n    delaycompress\n" + accountLine(log) +
           "    sharedscripts\n";
}

// A directory has more than one name where a link leads to it.
std::string withRealDirectory(const std::string& path) {
    const auto real = realPathOf(directoryOf(path));
    return real.ok() ? *real + "/" + nameOf(path) : path;
}

void addRotations(std::vector<Rotation>& rotations, const std::string& file) {
    const auto text = readFile(file);
    std::istringstream words(text.ok() ? *text : "");
    for (std::string word; words >> word;) {
        word.erase(0, word.starts_with('"') ? 1 : 0);
        word.erase(word.ends_with('"') ? word.size() - 1 : word.size());
        if (word.starts_with('/')) {
            rotations.push_back({withRealDirectory(word), file});
        }
    }
}

}  // namespace

std::string exchangeableAbove(const std::string& log) {
    struct stat status {};
    if (!lookAt(directoryOf(log), status) || status.st_uid != 0) {
        return {};
    }
    for (std::string way = directoryOf(log); way.size() > 1;) {
        way = directoryOf(way);
        if (lookAt(way, status) && isOthers(status)) {
            return way;
        }
    }
    return {};
}

std::string unwritableAt(const std::string& log) {
    const struct stat status = groundOf(directoryOf(log));
    return status.st_uid != 0 && (status.st_mode & S_IWUSR) == 0 ? directoryOf(log) : "";
}

std::string policyText(const LogPolicies& policies, const std::string& reload) {
    std::map<std::string, std::string> sections;  // the logs, by their options
    std::set<std::string> seen;                   // logrotate wants none of them twice
    for (const auto& [site, policy] : policies) {
        for (const std::string& log : policy.logs) {
            if (seen.insert(log).second) {
                sections[optionsOf(policy, log)] += "\"" + log + "\"\n";
            }
        }
    }
    std::string text = Title + documentOf(policies).dump() + "\n";
    for (const auto& [options, logs] : sections) {
        text += logs + "{\n" + options + "    postrotate\n        " + reload + "\n    endscript\n}\n";
    }
    return text;
}

LogPolicies policiesIn(const std::string& text) {
    const size_t begin = text.find('{');
    const std::string asked =
        begin == std::string::npos ? "" : text.substr(begin, text.find('\n', begin) - begin);
    const SortedJson json = parsedSortedJson(asked);
    LogPolicies policies;
    if (!json.is_object()) {
        return policies;
    }
    for (const auto& [site, each] : json.items()) {
        Fields fields(each);
        policies[site] = {fields.text("when", "daily"), static_cast<int>(fields.number("keep", 14)),
                          fields.text("size"), fields.texts("logs")};
    }
    return policies;
}

bool LogPolicy::hasSameTermsAs(const LogPolicy& other) const {
    return when == other.when && keep == other.keep && size == other.size;
}

PolicyList::PolicyList(LogPolicies policies) : policies_(std::move(policies)) {
    for (const auto& [site, policy] : policies_) {
        for (const std::string& log : policy.logs) {
            sitesOf_.emplace(log, site);
        }
    }
}

const LogPolicy* PolicyList::of(const std::string& site) const {
    const auto found = policies_.find(site);
    return found == policies_.end() ? nullptr : &found->second;
}

void PolicyList::set(const std::string& site, LogPolicy policy) {
    if (const LogPolicy* now = of(site); now != nullptr && *now == policy) {
        return;
    }
    erase(site);
    for (const std::string& log : policy.logs) {
        sitesOf_.emplace(log, site);
    }
    policies_[site] = std::move(policy);
    ++changes_;
}

void PolicyList::erase(const std::string& site) {
    const auto found = policies_.find(site);
    if (found == policies_.end()) {
        return;
    }
    for (const std::string& log : found->second.logs) {
        const auto [begin, end] = sitesOf_.equal_range(log);
        const auto its = std::find_if(begin, end, [&](const auto& each) { return each.second == site; });
        if (its != end) {
            sitesOf_.erase(its);
        }
    }
    policies_.erase(found);
    ++changes_;
}

void PolicyList::clear() {
    changes_ += policies_.size();
    policies_.clear();
    sitesOf_.clear();
}

std::string PolicyList::sharedWithOther(const std::string& site, const LogPolicy& policy) const {
    for (const std::string& log : policy.logs) {
        const auto [begin, end] = sitesOf_.equal_range(log);
        const auto other = std::find_if(begin, end, [&](const auto& each) {
            return each.second != site && !of(each.second)->hasSameTermsAs(policy);
        });
        if (other != end) {
            return log + ": the policy of " + other->second + " rotates it already";
        }
    }
    return {};
}

std::vector<Rotation> otherRotations() {
    std::vector<Rotation> rotations;
    for (const std::string& name : entriesOf(RotationDirectory)) {
        if (const std::string file = std::string(RotationDirectory) + "/" + name; file != LogPolicyFile) {
            addRotations(rotations, file);
        }
    }
    return rotations;
}

std::string rotatedBy(const std::vector<Rotation>& rotations, const std::string& log) {
    const std::string real = withRealDirectory(log);
    const auto found = std::find_if(rotations.begin(), rotations.end(), [&](const Rotation& each) {
        return ::fnmatch(each.pattern.c_str(), log.c_str(), FNM_PATHNAME) == 0 ||
               ::fnmatch(each.pattern.c_str(), real.c_str(), FNM_PATHNAME) == 0;
    });
    return found == rotations.end() ? "" : found->file;
}

}  // namespace zpweb
