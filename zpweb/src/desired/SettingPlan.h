// What differs between a setting as it is and as it should be, as commands.
#pragma once

#include <string>

#include "desired/Plan.h"
#include "desired/SettingModel.h"

namespace zpweb {

// Settings of paths: whatever their order, as the server takes the longest path.
bool isSame(const SettingModel& model, const SettingEntries& is, const SettingEntries& shouldBe);
void planSetting(const SettingModel& model, const std::string& site, const SettingEntries& is,
                 const SettingEntries& shouldBe, Plan& plan);

}  // namespace zpweb
