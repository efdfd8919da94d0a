#include "settings/Overview.h"

#include "conf/Text.h"
#include "settings/Access.h"
#include "settings/Certificate.h"
#include "settings/LogPolicy.h"
#include "settings/Php.h"
#include "settings/Proxies.h"
#include "settings/Redirects.h"
#include "settings/SiteFacts.h"
#include "settings/SiteLogs.h"
#include "settings/SiteSettings.h"
#include "settings/Tls.h"
#include "sys/File.h"

namespace zpweb {

namespace {

struct Subject {
    Output& output;
    const Configuration& configuration;
    const std::string& site;

    // What was asked for, and its place; empty without the setting.
    std::string asked(Setting setting) const {
        const auto text = settingOf(configuration, site, setting);
        return text ? text->asked : "";
    }
    std::string place(Setting setting) const {
        return settingPath(configuration.main().path(), settingName(site), setting);
    }
    void show(const char* field, Pairs pairs, Setting setting) const {
        if (!pairs.empty()) {
            pairs.emplace_back("in", place(setting));
            output.set(field, &pairs);
        }
    }
};

void showListeners(const Subject& subject) {
    Pairs pairs;
    for (const Place& place : subject.configuration.find(subject.site)) {
        for (const std::string& address :
             place.block->stopped ? std::vector<std::string>() : addressesOf(*place.block)) {
            pairs.emplace_back(address, place.text());
        }
    }
    subject.output.set("listeners", &pairs);
}

// The setting's certificate, or one that a block names by itself.
Pairs certificateOf(const Subject& subject) {
    if (const auto tls = tlsFrom(subject.asked(Setting::Tls))) {
        return {{"file", tls->files.certificate}, {"in", subject.place(Setting::Tls)}};
    }
    for (const Place& place : subject.configuration.find(subject.site)) {
        const auto own = argumentsIn(*place.block, "SSLCertificateFile");
        if (!place.block->stopped && !own.empty()) {
            return {{"file", std::string(zp::conf::unquoted(own.back()))}, {"in", place.text()}};
        }
    }
    return {};
}

void showTls(const Subject& subject) {
    const Pairs certificate = certificateOf(subject);
    if (certificate.empty()) {
        return;
    }
    subject.output.set("certificate", &certificate);
    if (const auto facts = factsOf(certificate.front().second); facts.ok()) {
        subject.output.set("certificate_days", daysLeft(facts->notAfter, std::time(nullptr)));
    }
}

void showPhp(const Subject& subject) {
    if (const auto php = phpFrom(subject.asked(Setting::Php))) {
        subject.show("php", {{"fpm", php->fpm}, {"version", php->version}}, Setting::Php);
    }
}

void showProxies(const Subject& subject) {
    Pairs pairs;
    for (const ProxyPath& each :
         proxiesFrom(subject.asked(Setting::Proxy)).value_or(ProxySetting{}).paths) {
        pairs.emplace_back(each.path, each.url);
    }
    subject.show("applications", pairs, Setting::Proxy);
}

std::string valuesAfter(const char* word, const std::vector<std::string>& values) {
    std::string text = values.empty() ? "" : word;
    for (const std::string& value : values) {
        text += " " + value;
    }
    return text;
}

void showAccess(const Subject& subject) {
    Pairs pairs;
    for (const AccessPath& each :
         accessFrom(subject.asked(Setting::Access)).value_or(AccessSetting{}).paths) {
        std::string rule;
        for (const std::string& part : {valuesAfter("allow", each.allow), valuesAfter("deny", each.deny),
                                        valuesAfter("users", each.users)}) {
            rule += (rule.empty() || part.empty() ? "" : "; ") + part;
        }
        pairs.emplace_back(each.path, rule);
    }
    subject.show("access", pairs, Setting::Access);
}

void showRedirects(const Subject& subject) {
    const auto redirects = redirectsFrom(subject.asked(Setting::Redirect)).value_or(RedirectSetting{});
    Pairs pairs;
    for (const PathRedirect& each : redirects.paths) {
        pairs.emplace_back(each.path, each.to);
    }
    if (!redirects.canonical.empty()) {
        pairs.emplace_back(twinOf(redirects.canonical), redirects.canonical);
    }
    if (redirects.httpsPort != 0) {
        pairs.emplace_back("http", "https");
    }
    subject.show("redirects", pairs, Setting::Redirect);
}

void showLogs(const Subject& subject) {
    Pairs pairs;
    for (const SiteLog& log : logsOf(subject.configuration, subject.configuration.find(subject.site))) {
        pairs.emplace_back(log.path, log.place);
    }
    if (!pairs.empty()) {
        subject.output.set("logs", &pairs);
    }
}

void showLogPolicy(const Subject& subject) {
    const auto text = readFile(LogPolicyFile);
    const LogPolicies policies = policiesIn(text.ok() ? *text : "");
    if (const auto policy = policies.find(settingName(subject.site)); policy != policies.end()) {
        const LogPolicy& its = policy->second;
        Pairs pairs = {{"when", its.when}, {"keep", std::to_string(its.keep)}, {"in", LogPolicyFile}};
        if (!its.size.empty()) {
            pairs.insert(pairs.begin() + 2, {"size", its.size});
        }
        subject.output.set("log_policy", &pairs);
    }
}

}  // namespace

void showSettings(Output& output, const Configuration& configuration, const std::string& site) {
    const Subject subject{output, configuration, site};
    showListeners(subject);
    showTls(subject);
    showPhp(subject);
    showProxies(subject);
    showAccess(subject);
    showRedirects(subject);
    showLogs(subject);
    showLogPolicy(subject);
}

}  // namespace zpweb
