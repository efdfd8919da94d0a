#include "settings/Redirects.h"

#include <algorithm>

#include "input/Fields.h"
#include "input/Json.h"
#include "settings/Pattern.h"

namespace zpweb {

namespace {

constexpr const char* NotAcme = "RewriteCond %{REQUEST_URI} !^/\\.well-known/acme-challenge/\n";
// The port as the client wrote it (%1), and path and query as they came (%2): nothing is decoded and
// encoded again on the way.
constexpr const char* AsAsked =
    "RewriteCond \"%{HTTP_HOST} %{THE_REQUEST}\" "
    "\"^(?:\\[[^\\]]*\\]|[^ :]*)(:\\d+)? \\S+ (?:[Hh][Tt][Tt][Pp][Ss]?://[^/ ]*)?(/[^? ]*)\"\n";

std::string httpsAuthority(const std::string& host, int port) {
    return "https://" + host + (port == 443 ? "" : ":" + std::to_string(port));
}

std::string canonicalRule(const RedirectSetting& setting) {
    const std::string target = setting.httpsPort != 0
                                   ? httpsAuthority(setting.canonical, setting.httpsPort) + "%2"
                                   : "%{REQUEST_SCHEME}://" + setting.canonical + "%1%2";
    return NotAcme + ("RewriteCond %{HTTP_HOST} ^" + literal(twinOf(setting.canonical))) +
           "\\.?(:\\d+)?$ [NC]\n" + AsAsked + "RewriteRule ^ \"" + target + "\" [R=301,NE,L]\n";
}

std::string httpsRule(const RedirectSetting& setting) {
    return NotAcme + std::string("RewriteCond %{HTTPS} !=on\n") + AsAsked + "RewriteRule ^ \"" +
           httpsAuthority("%{SERVER_NAME}", setting.httpsPort) + "%2\" [R=301,NE,L]\n";
}

std::string pathRule(const PathRedirect& redirect) {
    const bool all = redirect.path == "/";
    const std::string path = all ? "" : literal(redirect.path);
    const std::string pattern = all ? "^" : "^" + path + "(?:/|$)";
    std::string target = replacement(redirect.to);
    std::string text = NotAcme;
    std::string flags = "R=" + std::to_string(redirect.status) + ",NE,L";
    if (redirect.keepPath) {
        target = (target.ends_with('/') ? target.substr(0, target.size() - 1) : target) + "%1";
        text += "RewriteCond %{THE_REQUEST} \"^\\S+ (?:[Hh][Tt][Tt][Pp][Ss]?://[^/ ]*)?" +
                (all ? "" : "/*" + path) + "(/[^? ]*)?(?=[? ])\"\n";
    } else {
        flags += ",QSD";
    }
    return text + "RewriteRule \"" + pattern + "\" \"" + target + "\" [" + flags + "]\n";
}

}  // namespace

PathRedirect* RedirectSetting::at(const std::string& path) {
    const auto found = std::find_if(paths.begin(), paths.end(),
                                    [&](const PathRedirect& each) { return each.path == path; });
    return found == paths.end() ? nullptr : &*found;
}

std::string askedOf(const RedirectSetting& setting) {
    SortedJson paths = SortedJson::array();
    for (const PathRedirect& each : setting.paths) {
        paths.push_back(
            {{"path", each.path}, {"to", each.to}, {"keep-path", each.keepPath}, {"status", each.status}});
    }
    return SortedJson{{"https", setting.httpsPort}, {"canonical", setting.canonical}, {"paths", paths}}
        .dump();
}

std::optional<RedirectSetting> redirectsFrom(const std::string& asked) {
    Fields fields(asked);
    RedirectSetting setting{static_cast<int>(fields.number("https")), fields.text("canonical")};
    bool sound = true;
    for (Fields& each : fields.objects("paths")) {
        setting.paths.push_back({each.text("path"), each.text("to"), each.flag("keep-path"),
                                 static_cast<int>(each.number("status", 302))});
        sound = sound && each.sound();
    }
    return sound && fields.sound() ? std::optional(setting) : std::nullopt;
}

std::string directivesOf(const RedirectSetting& setting) {
    std::string text = "RewriteEngine On\n";
    std::vector<PathRedirect> paths = setting.paths;
    std::stable_sort(paths.begin(), paths.end(), [](const PathRedirect& a, const PathRedirect& b) {
        return a.path.size() > b.path.size();
    });
    for (const PathRedirect& each : paths) {
        text += pathRule(each);
    }
    text += setting.canonical.empty() ? "" : canonicalRule(setting);
    text += setting.httpsPort == 0 ? "" : httpsRule(setting);
    return text;
}

std::string twinOf(const std::string& name) {
    return name.starts_with("www.") ? name.substr(4) : "www." + name;
}

}  // namespace zpweb
