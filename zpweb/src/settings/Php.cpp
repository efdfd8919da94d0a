#include "settings/Php.h"

#include "input/Json.h"

#include "input/Fields.h"
#include "settings/Pattern.h"

namespace zpweb {

namespace {

// What PHP itself takes for its own: scripts, archives, and sources to be shown.
constexpr const char* Scripts = "\\.ph(?:p|ar|tml)$";
constexpr const char* Sources = "\\.ph(?:p|ar|ps|tml)$";

std::string handlerFor(const std::string& fpm) {
    const std::string place = fpm.starts_with('/') ? "unix:" + fpm + "|fcgi://localhost" : "fcgi://" + fpm;
    return std::string("<FilesMatch \"") + Scripts + "\">\n    SetHandler \"proxy:" + place +
           "\"\n</FilesMatch>\n";
}

std::string deniedSources(const char* pattern) {
    return std::string("<FilesMatch \"") + pattern + "\">\n    Require all denied\n</FilesMatch>\n";
}

}  // namespace

std::string askedOf(const PhpSetting& setting) {
    return SortedJson{{"fpm", setting.fpm}, {"root", setting.root}, {"version", setting.version}}.dump();
}

std::optional<PhpSetting> phpFrom(const std::string& asked) {
    Fields fields(asked);
    const PhpSetting setting{fields.text("fpm"), fields.text("root"), fields.text("version")};
    return fields.sound() ? std::optional(setting) : std::nullopt;
}

std::string directivesOf(const PhpSetting& setting) {
    const std::string index = "DirectoryIndex index.html index.htm index.php\n";
    if (setting.root.empty()) {
        return index + handlerFor(setting.fpm) + deniedSources("\\.phps$");
    }
    // Elsewhere nothing runs them, so nobody gets them.
    return index + "<DirectoryMatch \"^(?!" + literal(setting.root) + "(?:/|$))\">\n" +
           deniedSources(Sources) + "</DirectoryMatch>\n<Directory \"" + setting.root + "\">\n" +
           handlerFor(setting.fpm) + deniedSources("\\.phps$") + "</Directory>\n";
}

}  // namespace zpweb
