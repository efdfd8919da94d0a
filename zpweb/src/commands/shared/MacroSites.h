// Sites that macros make: they can be listed, and are changed where the macro is.
#pragma once

#include <string>
#include <vector>

#include "server/Configuration.h"

namespace zpweb {

struct MacroSite {
    std::string name, address, root;
    std::vector<std::string> names;  // its further ones
    bool tls = false;
    std::string file;  // where the macro is used
    size_t line = 0;
    std::string made;  // FILE:LINE of the block in the macro
    std::string text;  // of the macro, with the values of this use
};

std::vector<MacroSite> macroSites(const Configuration& configuration);
// Those of one name.
std::vector<MacroSite> macroSites(const Configuration& configuration, const std::string& name);

void appendBlock(std::string& json, const MacroSite& site);

}  // namespace zpweb
