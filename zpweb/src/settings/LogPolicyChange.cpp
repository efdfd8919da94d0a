#include "settings/LogPolicyChange.h"

#include "settings/SiteSettings.h"

namespace zpweb {

namespace {

// Graceful, and only where the server would come through it. This program looks at the logs first: an owner
// may have made a link of one.
std::string reloadCommand(Transaction& change) {
    const std::string pid = change.server().pidFile(change.configuration());
    const std::string main = change.configuration().main().path();
    return "if [ ! -s \"" + pid + "\" ]; then :; elif command -v zpweb >/dev/null; then zpweb --conf \"" +
           main + "\" server reload >/dev/null; elif apachectl -t -f \"" + main +
           "\" >/dev/null 2>&1; then kill -USR1 \"$(cat \"" + pid + "\")\"; fi";
}

Outcome put(Transaction& change, const LogPolicies& policies) {
    if (policies.empty()) {
        return change.contentOf(LogPolicyFile) ? change.unlink(LogPolicyFile) : done();
    }
    return change.replace(LogPolicyFile, policyText(policies, reloadCommand(change)));
}

PolicyList& sharedPolicies(Transaction& change) {
    return change.shared().value<PolicyList>(LogPolicyFile, [&change] {
        const Content now = change.contentOf(LogPolicyFile);
        return PolicyList(policiesIn(now ? now.text() : ""));
    });
}

}  // namespace

const PolicyList& policiesIn(Transaction& change) { return sharedPolicies(change); }

Outcome changePolicies(Transaction& change, const std::function<Outcome(PolicyList&)>& edit) {
    PolicyList& policies = sharedPolicies(change);
    const size_t before = policies.changes();
    Outcome edited = edit(policies);
    if (policies.changes() != before) {
        change.shared().noteChange();
    }
    change.shared().atEnd(LogPolicyFile, [&change] { return put(change, sharedPolicies(change).all()); });
    return edited;
}

Outcome movePolicy(Transaction& change, const std::string& site, const std::string& renamed) {
    if (policiesIn(change).of(settingName(site)) == nullptr) {
        return done();
    }
    return changePolicies(change, [&](PolicyList& policies) {
        const LogPolicy policy = *policies.of(settingName(site));
        policies.erase(settingName(site));
        if (!renamed.empty()) {
            policies.set(settingName(renamed), policy);
        }
        return done();
    });
}

}  // namespace zpweb
