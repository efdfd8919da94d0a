#include "commands/shared/SiteLogs.h"

#include "commands/shared/LayoutChoice.h"
#include "host/Accounts.h"
#include "sys/File.h"

namespace zpweb {

namespace {

using Step = zp::host::Effect::Step;

constexpr const char* SystemLogs = "/var/log/websites";
constexpr uid_t Root = 0;
constexpr mode_t OpenMode = 0755;
constexpr mode_t OwnerReads = 0750;

}  // namespace

std::string usualLogs() { return hasPanel() ? "home" : "system"; }

std::string systemLogs(const std::string& site) { return std::string(SystemLogs) + "/" + site; }

Outcome makeLogs(Transaction& change, const std::string& directory, const std::string& owner) {
    const auto account = zp::host::findAccount(owner);
    const gid_t group = account ? account->group : Root;
    if (isDirectory(directory)) {  // of a site of this name that went
        change.outstanding({Step::GiveAccess, directory, Root, group, OwnerReads});
        return done();
    }
    Outcome outcome = change.makeDirectory(SystemLogs, OpenMode, Root, Root);
    return outcome.ok() ? change.makeDirectory(directory, OwnerReads, Root, group) : outcome;
}

}  // namespace zpweb
