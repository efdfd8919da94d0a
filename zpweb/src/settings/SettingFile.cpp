#include "settings/SettingFile.h"

#include "sys/File.h"
#include "sys/Hash.h"

namespace zpweb {

namespace {

constexpr std::string_view Mark = "written by zpweb. Edits are kept until --overwrite. [";

// The first line, and what stands behind it.
std::string_view takeLine(std::string_view& text) {
    const std::string_view line = text.substr(0, text.find('\n'));
    text.remove_prefix(std::min(text.size(), line.size() + 1));
    return line;
}

}  // namespace

const char* nameOf(Setting setting) {
    switch (setting) {
        case Setting::Tls:
            return "tls";
        case Setting::Php:
            return "php";
        case Setting::Proxy:
            return "proxy";
        case Setting::Access:
            return "access";
        case Setting::Redirect:
            return "redirect";
        default:
            return "suspended";
    }
}

std::string settingPath(const std::string& mainConfiguration, const std::string& site, Setting setting) {
    // What stands in a configuration as a name may be a way to other files; no setting has the place "-".
    const bool isWay = site.starts_with('.') || site.find('/') != std::string::npos;
    return directoryOf(mainConfiguration) + "/zpweb.d/" + (isWay ? "-" : site) + "/" + nameOf(setting) +
           ".conf";
}

std::string settingText(const std::string& site, Setting setting, const SettingText& content) {
    const std::string rest = "# " + content.asked + "\n" + content.directives;
    return std::string("# The ") + nameOf(setting) + " setting of " + site + ", " + std::string(Mark) +
           contentHash(rest) + "]\n" + rest;
}

std::optional<SettingText> settingFrom(std::string_view text) {
    const std::string_view title = takeLine(text);
    const size_t mark = title.find(Mark);
    if (mark == std::string_view::npos) {
        return std::nullopt;
    }
    const std::string_view hash = title.substr(mark + Mark.size());
    SettingText setting;
    setting.edited = hash != contentHash(text) + "]";
    if (text.starts_with("# {") || text.starts_with("# [")) {
        setting.asked = takeLine(text).substr(2);
    }
    setting.directives = text;
    return setting;
}

}  // namespace zpweb
