// What differs between the sites as they are and as they should be, as commands.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "desired/SiteState.h"

namespace zpweb {

// One command of a plan, as a line of "apply" has it.
struct PlannedCommand {
    std::string words;
    std::vector<std::string> arguments;
    std::vector<std::pair<std::string, std::vector<std::string>>> options;  // without their hyphens

    nlohmann::ordered_json json() const;
    std::string text() const;  // for people
};
using Plan = std::vector<PlannedCommand>;

// Appends the commands that make a site what it should be; `is` is null for one that is not there. A usage
// failure when what is asked for cannot be brought about.
Outcome planSite(const SiteState* is, const SiteState& shouldBe, Plan& plan);

}  // namespace zpweb
