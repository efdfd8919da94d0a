// log policy: how long a site's logs are kept.
#include <algorithm>

#include "commands/SettingsCommands.h"
#include "commands/shared/SettingParameters.h"
#include "input/Quoted.h"
#include "settings/LogPolicyChange.h"
#include "settings/SiteLogs.h"
#include "settings/SiteSettings.h"

namespace zpweb {

namespace {

constexpr auto LogsOf = maybe("SITE", Kind::Site, "The site's name");
constexpr auto All = flag("--all", "Each site whose logs nothing else rotates");
constexpr auto Daily = flag("--daily", "Rotate them each day (so without --weekly and --monthly)");
constexpr auto Weekly = flag("--weekly", "Rotate them each week");
constexpr auto Monthly = flag("--monthly", "Rotate them each month");
constexpr auto Keep = numberOption("--keep", "NUMBER", "Keep so many old ones (14)");
constexpr auto LargerThan = option("--size", Kind::Size, "SIZE", "Rotate sooner what is larger");
constexpr auto Off = flag("--off", "Rotate them no more");

// logrotate takes such a name for a pattern, or for more than a name.
bool isPlainName(const std::string& name) {
    return std::all_of(name.begin(), name.end(), [](char c) {
        return c >= ' ' && c < '\x7f' && std::string_view("\"'\\*?[]{}~").find(c) == std::string_view::npos;
    });
}

Expected<std::vector<std::string>> rotatable(Transaction& change, const std::string& site) {
    const auto& others = change.shared().value<std::vector<Rotation>>("logrotate", otherRotations);
    const Configuration& configuration = change.configuration();
    std::vector<std::string> logs;
    if (!isPlainName(site)) {
        return failure(Status::Refused,
                       "site " + inQuotes(site) + ": its name could not stand in the policy");
    }
    for (const SiteLog& log : logsOf(configuration, configuration.find(site))) {
        if (!isPlainName(log.path)) {
            return failure(Status::Refused,
                           log.path + ": logrotate would not take this name as it is written");
        }
        if (const std::string other = rotatedBy(others, log.path); !other.empty()) {
            return failure(Status::Exists, log.path + ": " + other + " rotates it already");
        }
        logs.push_back(log.path);
    }
    return logs.empty() ? Expected<std::vector<std::string>>(
                              failure(Status::NotFound, "site " + inQuotes(site) + " names no log file"))
                        : Expected(std::move(logs));
}

std::vector<std::string> siteNames(const Configuration& configuration) {
    std::vector<std::string> sites;
    for (const auto& file : configuration.files()) {
        for (const Block& block : file->blocks()) {
            if (!block.stopped && !block.name.empty()) {
                sites.emplace_back(block.name);
            }
        }
    }
    return sites;
}

// One whose policy goes may be gone itself.
Expected<std::vector<std::string>> sitesAsked(const Transaction& change, const Arguments& given) {
    const auto asked = given[LogsOf];
    if (asked.has_value() == given[All]) {
        return failure(Status::Usage, "log policy: expected SITE or --all");
    }
    if (!asked) {
        return siteNames(change.configuration());
    }
    if (given[Off]) {
        return std::vector<std::string>{*asked};
    }
    const auto site = findSite(change.configuration(), *asked);
    const Outcome named = site.ok() ? site->hasName() : site.outcome();
    return named.ok() ? Expected(std::vector<std::string>{site->name()}) : named;
}

// With --all a site that keeps no logs of its own, or whose logs something else rotates, is passed over.
Outcome take(PolicyList& policies, Transaction& change, const std::string& site, LogPolicy policy,
             bool all) {
    auto logs = rotatable(change, site);
    if (!logs.ok()) {
        return all ? done() : logs.outcome();
    }
    policy.logs = std::move(*logs);
    if (const std::string shared = policies.sharedWithOther(settingName(site), policy); !shared.empty()) {
        return all ? done() : failure(Status::Exists, shared);
    }
    policies.set(settingName(site), std::move(policy));
    return done();
}

// Of many sites the first is named. `directoryOf` gives the directory that is to be told of, if there is
// one.
void warnOf(Output& output, const PolicyList& policies, const std::vector<std::string>& sites,
            std::string (*directoryOf)(const std::string& log), const std::string& what,
            const std::string& consequence) {
    std::string first;
    size_t count = 0;
    for (const std::string& site : sites) {
        const LogPolicy* policy = policies.of(settingName(site));
        const std::string directory = policy == nullptr ? "" : directoryOf(policy->logs[0]);
        first = directory.empty() || count++ > 0 ? first : policy->logs[0] + ": " + what + directory;
    }
    if (count > 0) {
        output.warning(first +
                       (count > 1 ? " (and so for " + std::to_string(count - 1) + " sites more)" : "") +
                       consequence);
    }
}

void warnOfDirectories(Output& output, const PolicyList& policies, const std::vector<std::string>& sites) {
    warnOf(output, policies, sites, exchangeableAbove, "others than root can exchange ",
           ", so that logrotate, which works as root there, could be led elsewhere; logs in a directory of "
           "root's know no such way");
    warnOf(output, policies, sites, unwritableAt, "its owner cannot write in ",
           ", so that logrotate, which works as the owner there, rotates nothing; chmod u+w lets it");
}

Outcome setPolicy(Transaction& change, const Arguments& given) {
    if (given[Daily] + given[Weekly] + given[Monthly] > 1) {
        return failure(Status::Usage, "log policy: expected one of --daily, --weekly and --monthly");
    }
    const auto sites = sitesAsked(change, given);
    if (!sites.ok()) {
        return sites.outcome();
    }
    const LogPolicy policy{given[Monthly]  ? "monthly"
                           : given[Weekly] ? "weekly"
                                           : "daily",
                           given[Keep].value_or(14), given[LargerThan].value_or("")};
    return changePolicies(change, [&](PolicyList& policies) {
        if (given[Off] && given[All]) {
            policies.clear();  // also those of sites that are stopped, or gone
        }
        for (const std::string& each : *sites) {
            if (given[Off]) {
                policies.erase(settingName(each));
            } else if (Outcome taken = take(policies, change, each, policy, given[All]); !taken.ok()) {
                return taken;
            }
        }
        warnOfDirectories(change.output(), policies, given[Off] ? std::vector<std::string>() : *sites);
        return done();
    });
}

}  // namespace

Command logPolicy() {
    return {
        .words = "log policy",
        .summary = "Tell how long the logs of websites are kept",
        .action = setPolicy,
        .parameters = {LogsOf, All, Daily, Weekly, Monthly, Keep, LargerThan, Off},
        .more =
            "logrotate does the work, by the file /etc/logrotate.d/zpweb; the server is reloaded once for "
            "all sites with the same policy.",
        .examples = {"log policy shop.example --daily --keep 30", "log policy --all --weekly --size 100M"},
    };
}

}  // namespace zpweb
