// A setting: a small file that a site's blocks include, for what the library's operations do not know.
//
// Its first line tells what it is and carries a fingerprint of the rest, so that somebody's edits are
// noticed; its second line holds what was asked for, as JSON; the server's directives follow:
//
//     # The tls setting of shop.example, written by zpweb. Edits are kept until --overwrite. [9f3a...]
//     # {"certificate":"/etc/ssl/shop.pem","key":"/etc/ssl/private/shop.key"}
//     SSLEngine on
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace zpweb {

enum class Setting { Tls, Php, Proxy, Access, Redirect, Suspended };
inline constexpr Setting AllSettings[] = {Setting::Tls,    Setting::Php,      Setting::Proxy,
                                          Setting::Access, Setting::Redirect, Setting::Suspended};
const char* nameOf(Setting setting);  // "tls"

// Beside the main configuration file: zpweb.d/SITE/tls.conf. `site` is the name's ASCII form.
std::string settingPath(const std::string& mainConfiguration, const std::string& site, Setting setting);

// What a file holds.
struct SettingText {
    std::string asked;       // JSON, one line
    std::string directives;  // whole lines
    bool edited = false;     // somebody has changed it since it was written
};
std::string settingText(const std::string& site, Setting setting, const SettingText& content);
// Absent when it is no setting's file. What was asked for is empty when the line that holds it is gone.
std::optional<SettingText> settingFrom(std::string_view text);

}  // namespace zpweb
