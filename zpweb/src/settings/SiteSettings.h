// The settings of a site within a change: their files, and the lines of its blocks that include them.
#pragma once

#include <functional>
#include <optional>
#include <string>

#include "change/Transaction.h"
#include "settings/SettingFile.h"

namespace zpweb {

// A site's name as its directory of settings is called.
std::string settingName(std::string_view site);

// As the change has it so far, or as it is on disk; absent without one.
std::optional<SettingText> settingOf(const Transaction& change, const std::string& site, Setting setting);
std::optional<SettingText> settingOf(const Configuration& configuration, const std::string& site,
                                     Setting setting);

struct SettingPlace {
    std::string site;
    Setting setting;
    bool overwrite = false;  // somebody's edits go, too
};

// Removes the file and the lines that include it; nothing there is no error.
Outcome dropSetting(Transaction& change, const SettingPlace& place);

// Removes a setting's file, and its directory with the last of them.
Outcome removeSettingFile(Transaction& change, const std::string& path);

// Removes all of them, its logs' policy too, of a site that goes, edited or not. Its blocks are not looked
// at.
Outcome forgetSettings(Transaction& change, const std::string& site);

// Includes the setting in the site's running blocks that pass the test, once in each, and writes its file.
// Refused, and shown, when somebody has edited that. A redirect and a suspension stand behind the
// ServerName, so that they come before the site's own rules; the others at the end of the block.
using BlockTest = std::function<bool(const Block&)>;
inline bool everyBlock(const Block& /*block*/) { return true; }
Outcome applySetting(Transaction& change, const SettingPlace& place, const std::string& asked,
                     const std::string& directives, const BlockTest& where = everyBlock);
// Does the block include the setting's file?
bool includes(const Block& block, const std::string& settingFile);

}  // namespace zpweb
