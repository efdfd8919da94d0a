// <Directory> blocks of a site, by their lines.
#pragma once

#include <functional>
#include <string>

#include "commands/shared/LineOperation.h"
#include "commands/table/Arguments.h"
#include "commands/table/Site.h"

namespace zpweb {

inline constexpr auto BlockFolder = needed("FOLDER", Kind::Path, "The folder of the block");
inline constexpr auto BlockLines = options("--line", Kind::Text, "DIRECTIVE", "A line of the block");

using BlockCall = std::function<int(ApacheHelper&, const std::string& staged, const std::string& site,
                                    const std::string& folder)>;
Outcome editBlock(Transaction& change, const Site& site, const std::string& folder, const BlockCall& call);

}  // namespace zpweb
