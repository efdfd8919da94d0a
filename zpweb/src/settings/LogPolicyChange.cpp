#include "settings/LogPolicyChange.h"

#include "settings/SiteSettings.h"

namespace zpweb {

namespace {

// Graceful, and only where the server would come through it.
std::string reloadCommand(Transaction& change) {
    const std::string pid = change.server().pidFile(change.configuration());
    const std::string main = change.configuration().main().path();
    return "if [ -s \"" + pid + "\" ] && apachectl -t -f \"" + main +
           "\" >/dev/null 2>&1; then kill -USR1 \"$(cat \"" + pid + "\")\"; fi";
}

Outcome put(Transaction& change, const LogPolicies& policies) {
    if (policies.empty()) {
        return change.contentOf(LogPolicyFile) ? change.unlink(LogPolicyFile) : done();
    }
    return change.replace(LogPolicyFile, policyText(policies, reloadCommand(change)));
}

}  // namespace

Outcome changePolicies(Transaction& change, const std::function<Outcome(LogPolicies&)>& edit) {
    const Content now = change.contentOf(LogPolicyFile);
    LogPolicies policies = policiesIn(now ? now.text() : "");
    Outcome edited = edit(policies);
    return edited.ok() ? put(change, policies) : edited;
}

Outcome movePolicy(Transaction& change, const std::string& site, const std::string& renamed) {
    const Content now = change.contentOf(LogPolicyFile);
    if (!now || !policiesIn(now.text()).contains(settingName(site))) {
        return done();
    }
    return changePolicies(change, [&](LogPolicies& policies) {
        auto policy = policies.extract(settingName(site));
        if (!renamed.empty()) {
            policy.key() = settingName(renamed);
            policies.insert(std::move(policy));
        }
        return done();
    });
}

}  // namespace zpweb
