#include "settings/Proxies.h"

#include <algorithm>

#include "input/Fields.h"
#include "input/Json.h"
#include "settings/Pattern.h"

namespace zpweb {

namespace {

std::string quoted(const std::string& text) { return "\"" + text + "\""; }

// A slash at the end of one side of ProxyPass needs one at the end of the other.
std::string target(const ProxyPath& path) { return path.url + (path.path == "/" ? "/" : ""); }

std::string websocketRule(const ProxyPath& path) {
    const bool secure = path.url.starts_with("https:");
    const std::string url = (secure ? "wss" : "ws") + path.url.substr(secure ? 5 : 4);
    return "RewriteEngine On\nRewriteCond %{HTTP:Upgrade} ^websocket$ [NC]\nRewriteRule \"^" +
           (path.path == "/" ? "" : literal(path.path)) + "(/.*)?$\" \"" + replacement(url) + "$1\" [P]\n";
}

std::string passLines(const ProxyPath& path, Upgrade upgrade) {
    std::string text;
    std::string options;
    if (path.websocket && upgrade == Upgrade::ByOption) {
        options += " upgrade=websocket";
    } else if (path.websocket) {
        text += websocketRule(path);
    }
    if (path.timeout > 0) {
        options += " timeout=" + std::to_string(path.timeout);
    }
    const std::string pair = quoted(path.path) + " " + quoted(target(path));
    return text + "ProxyPass " + pair + options + "\nProxyPassReverse " + pair + "\n";
}

bool isSecure(const ProxyPath& path) { return path.url.starts_with("https:"); }

}  // namespace

void ProxySetting::set(ProxyPath path) {
    remove(path.path);
    paths.push_back(std::move(path));
    // The first ProxyPass that matches counts.
    std::stable_sort(paths.begin(), paths.end(),
                     [](const ProxyPath& a, const ProxyPath& b) { return a.path.size() > b.path.size(); });
}

bool ProxySetting::remove(const std::string& path) {
    return std::erase_if(paths, [&](const ProxyPath& each) { return each.path == path; }) > 0;
}

std::string askedOf(const ProxySetting& setting) {
    SortedJson paths = SortedJson::array();
    for (const ProxyPath& each : setting.paths) {
        paths.push_back({{"path", each.path},
                         {"url", each.url},
                         {"websocket", each.websocket},
                         {"timeout", each.timeout}});
    }
    return SortedJson{{"paths", paths}}.dump();
}

std::optional<ProxySetting> proxiesFrom(const std::string& asked) {
    Fields fields(asked);
    ProxySetting setting;
    bool sound = true;
    for (Fields& each : fields.objects("paths")) {
        setting.set({each.text("path"), each.text("url"), each.flag("websocket"),
                     static_cast<int>(each.number("timeout"))});
        sound = sound && each.sound();
    }
    return sound && fields.sound() ? std::optional(setting) : std::nullopt;
}

std::string directivesOf(const ProxySetting& setting) {
    std::string text =
        "ProxyPreserveHost On\n"
        "RequestHeader set X-Forwarded-Proto expr=%{REQUEST_SCHEME}\n"
        "RequestHeader set X-Forwarded-Port expr=%{SERVER_PORT}\n";
    if (std::any_of(setting.paths.begin(), setting.paths.end(), isSecure)) {
        text += "SSLProxyEngine On\n";
    }
    text += "ProxyPass \"/.well-known/acme-challenge/\" \"!\"\n";
    for (const ProxyPath& each : setting.paths) {
        text += passLines(each, setting.upgrade);
    }
    return text;
}

}  // namespace zpweb
