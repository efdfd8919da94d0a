#include "commands/shared/SettingReading.h"

#include "host/Paths.h"
#include "settings/Access.h"
#include "settings/LogPolicy.h"
#include "settings/Php.h"
#include "settings/Proxies.h"
#include "settings/Redirects.h"
#include "settings/SiteSettings.h"
#include "settings/Tls.h"
#include "sys/File.h"

namespace zpweb {

namespace {

using Texts = std::vector<std::string>;

void setFlag(SettingEntry& entry, const char* name, bool given) {
    if (given) {
        entry[name] = {};
    }
}

SettingEntry entryOf(const TlsSetting& tls) {
    SettingEntry entry{{"certificate", {tls.files.certificate}},
                       {"key", {tls.files.key}},
                       {"hsts", {std::to_string(tls.hsts)}},
                       {"port", {std::to_string(tls.port)}}};
    setFlag(entry, "redirect", tls.redirect);
    setFlag(entry, "any_name", tls.anyName);
    return entry;
}

SettingEntry entryOf(const PhpSetting& php) {
    SettingEntry entry{{"fpm", {php.fpm}}};
    setFlag(entry, "root_only", !php.root.empty());
    return entry;
}

SettingEntry entryOf(const ProxyPath& path) {
    SettingEntry entry{
        {"path", {path.path}}, {"url", {path.url}}, {"timeout", {std::to_string(path.timeout)}}};
    setFlag(entry, "websocket", path.websocket);
    return entry;
}

SettingEntry entryOf(const AccessPath& path) {
    return {{"path", {path.path}},
            {"allow", path.allow},
            {"deny", path.deny},
            {"users", path.users},
            {"user_file", path.userFile.empty() ? Texts() : Texts{path.userFile}}};
}

SettingEntry entryOf(const PathRedirect& path) {
    SettingEntry entry{{"path", {path.path}}, {"to", {path.to}}, {"status", {std::to_string(path.status)}}};
    setFlag(entry, "keep_path", path.keepPath);
    return entry;
}

SettingEntry entryOf(const LogPolicy& policy) {
    return {{"when", {policy.when}},
            {"keep", {std::to_string(policy.keep)}},
            {"size", policy.size.empty() ? Texts() : Texts{policy.size}}};
}

template <class Paths>
SettingEntries readEntries(const char* model, const Paths& paths) {
    SettingEntries entries;
    for (const auto& path : paths) {
        entries.push_back(plain(*settingModel(model), entryOf(path)));
    }
    return entries;
}

class Reader {
public:
    Reader(const Configuration& configuration, const std::string& site, SiteState& state)
        : configuration_(configuration), site_(site), state_(state) {}

    // One setting of the site.
    template <class From>
    void read(Setting setting, const char* model, From from) {
        const auto text = settingOf(configuration_, site_, setting);
        if (!text) {
            state_.settings[model] = {};
        } else if (const auto known = from(text->asked)) {
            state_.settings[model] = readEntries(model, std::vector{*known});
        }
    }
    // One of paths.
    template <class From>
    void readPaths(Setting setting, const char* model, From from) {
        const auto text = settingOf(configuration_, site_, setting);
        const auto known = from(text ? text->asked : "{}");
        if (known) {
            state_.settings[model] = readEntries(model, known->paths);
        }
    }

    void readCanonical() {
        const auto text = settingOf(configuration_, site_, Setting::Redirect);
        if (const auto known = redirectsFrom(text ? text->asked : "{}")) {
            const std::string& name = known->canonical;
            state_.settings["canonical"] =
                name.empty() ? SettingEntries()
                             : SettingEntries{{{"name", {name.starts_with("www.") ? "www" : "bare"}}}};
        }
    }

private:
    const Configuration& configuration_;
    const std::string& site_;
    SiteState& state_;
};

}  // namespace

SettingReading::SettingReading(const Configuration& configuration) : configuration_(configuration) {
    const auto names = entriesOf(directoryOf(configuration.main().path()) + "/zpweb.d");
    sites_.insert(names.begin(), names.end());
    const auto text = readFile(LogPolicyFile);
    policies_ = policiesIn(text.ok() ? *text : "");
}

void SettingReading::addTo(SiteState& state, const std::string& site) const {
    const std::string name = settingName(site);
    if (sites_.contains(name)) {
        Reader reader(configuration_, name, state);
        reader.read(Setting::Tls, "tls", tlsFrom);
        reader.read(Setting::Php, "php", phpFrom);
        reader.readPaths(Setting::Proxy, "proxies", proxiesFrom);
        reader.readPaths(Setting::Access, "access", accessFrom);
        reader.readPaths(Setting::Redirect, "redirects", redirectsFrom);
        reader.readCanonical();
    } else {
        for (const SettingModel& model : settingModels()) {
            state.settings.try_emplace(std::string(model.name));
        }
    }
    const auto policy = policies_.find(name);
    state.settings["log_policy"] = policy == policies_.end()
                                       ? SettingEntries()
                                       : readEntries("log_policy", std::vector{policy->second});
}

// Users stand in the site's own file where no other is named.
void completeSettings(SiteState& state) {
    SettingEntries none;
    const auto access = state.settings.find("access");
    for (SettingEntry& path : access == state.settings.end() ? none : access->second) {
        if (!path.contains("users")) {
            path.erase("user_file");
        } else if (!path.contains("user_file")) {
            path["user_file"] = {zp::host::path::WebUsers + settingName(state.name)};
        }
    }
}

}  // namespace zpweb
