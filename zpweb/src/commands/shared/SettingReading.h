// The settings of sites as documents tell them.
#pragma once

#include <set>
#include <string>

#include "desired/SiteState.h"
#include "server/Configuration.h"
#include "settings/LogPolicy.h"

namespace zpweb {

class SettingReading {
public:
    explicit SettingReading(const Configuration& configuration);

    // Where what was asked for cannot be read any more, the setting is left out.
    void addTo(SiteState& state, const std::string& site) const;

private:
    const Configuration& configuration_;
    std::set<std::string> sites_;  // that have a directory of settings
    LogPolicies policies_;
};

// Fills in what the commands take when a document does not tell it.
void completeSettings(SiteState& state);

}  // namespace zpweb
