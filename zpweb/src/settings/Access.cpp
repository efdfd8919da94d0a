#include "settings/Access.h"

#include <algorithm>

#include "input/Fields.h"
#include "input/Json.h"
#include "input/Network.h"

namespace zpweb {

namespace {

using Words = std::vector<std::string>;

constexpr const char* All = "all";

bool hasAll(const Words& words) { return std::find(words.begin(), words.end(), All) != words.end(); }

bool anyHolds(const Words& networks, const std::string& address) {
    return std::any_of(networks.begin(), networks.end(), [&](const std::string& network) {
        return network == All || holdsAddress(network, address);
    });
}

std::string requireLine(const std::string& before, const Words& words) {
    std::string text = before;
    for (const std::string& word : words) {
        text += " " + word;
    }
    return text + "\n";
}

// Who may pass by address, in a <RequireAll>. "Deny all" beside allowed addresses means those and no other.
std::string addressLines(const AccessPath& path) {
    Words denied;
    std::copy_if(path.deny.begin(), path.deny.end(), std::back_inserter(denied),
                 [](const std::string& each) { return each != All; });
    std::string text;
    if (path.allow.empty()) {
        text += hasAll(path.deny) ? "        Require all denied\n" : "        Require all granted\n";
    } else if (hasAll(path.allow)) {
        text += "        Require all granted\n";
    } else {
        text += requireLine("        Require ip", path.allow);
    }
    return denied.empty() ? text : text + requireLine("        Require not ip", denied);
}

std::string userLine(const Words& users) {
    const bool any = std::find(users.begin(), users.end(), "valid-user") != users.end();
    return any ? "        Require valid-user\n" : requireLine("        Require user", users);
}

std::string section(const AccessPath& path) {
    std::string text = "<Location \"" + path.path + "\">\n";
    if (!path.users.empty()) {
        text += "    AuthType Basic\n    AuthName \"" + path.path +
                "\"\n    AuthBasicProvider file\n    AuthUserFile \"" + path.userFile + "\"\n";
    }
    text += "    <RequireAll>\n" + addressLines(path);
    text += path.users.empty() ? "" : userLine(path.users);
    return text + "    </RequireAll>\n</Location>\n";
}

}  // namespace

bool AccessPath::admits(const std::string& address) const {
    if (allow.empty() && hasAll(deny)) {
        return false;
    }
    const Words denied = [&] {
        Words words = deny;
        std::erase(words, All);
        return words;
    }();
    return (allow.empty() || anyHolds(allow, address)) && !anyHolds(denied, address);
}

bool AccessPath::admitsAll() const {
    return users.empty() && deny.empty() && (allow.empty() || hasAll(allow));
}

void AccessSetting::set(AccessPath path) {
    remove(path.path);
    paths.push_back(std::move(path));
    // The last section that matches counts.
    std::stable_sort(paths.begin(), paths.end(), [](const AccessPath& a, const AccessPath& b) {
        return a.path.size() < b.path.size();
    });
}

bool AccessSetting::remove(const std::string& path) {
    return std::erase_if(paths, [&](const AccessPath& each) { return each.path == path; }) > 0;
}

const AccessPath* AccessSetting::at(const std::string& path) const {
    const auto found =
        std::find_if(paths.begin(), paths.end(), [&](const AccessPath& each) { return each.path == path; });
    return found == paths.end() ? nullptr : &*found;
}

std::string askedOf(const AccessSetting& setting) {
    SortedJson paths = SortedJson::array();
    for (const AccessPath& each : setting.paths) {
        paths.push_back({{"path", each.path},
                         {"allow", each.allow},
                         {"deny", each.deny},
                         {"users", each.users},
                         {"user-file", each.userFile}});
    }
    return SortedJson{{"paths", paths}}.dump();
}

std::optional<AccessSetting> accessFrom(const std::string& asked) {
    Fields fields(asked);
    AccessSetting setting;
    bool sound = true;
    for (Fields& each : fields.objects("paths")) {
        setting.set({each.text("path"), each.texts("allow"), each.texts("deny"), each.texts("users"),
                     each.text("user-file")});
        sound = sound && each.sound();
    }
    return sound && fields.sound() ? std::optional(setting) : std::nullopt;
}

// Whoever issues the site's certificate comes from anywhere.
std::string directivesOf(const AccessSetting& setting) {
    std::string text;
    bool whole = false;
    for (const AccessPath& each : setting.paths) {
        text += section(each);
        whole = whole || each.path == "/";
    }
    return whole ? text +
                       "<Location \"/.well-known/acme-challenge/\">\n    Require all granted\n</Location>\n"
                 : text;
}

}  // namespace zpweb
