// <Directory> blocks of a site, by their lines.
#pragma once

#include <functional>
#include <string>

#include "ApacheHelper.h"
#include "commands/shared/BlockEdit.h"
#include "commands/table/Arguments.h"
#include "commands/table/Site.h"
#include "text/View.h"

namespace zpweb {

inline constexpr auto BlockDirectory = needed("FOLDER", Kind::Path, "The directory of the block");
inline constexpr auto BlockLines = options("--line", Kind::Text, "DIRECTIVE", "A line of the block");

// The statement says what the line says, however either is spaced or quoted.
StatementTest isLine(const std::string& line);
// Has the section for the directory such a line?
bool hasLine(const Block& block, const std::string& directory, const std::string& line);
bool hasSection(const Block& block, const std::string& directory);

using BlockCall = std::function<int(ApacheHelper&, const std::string& staged, const std::string& site,
                                    const std::string& directory)>;
// In each of the site's blocks that passes the test; NotFound when there is none. The operation sees the
// lines of their sections that are "inner": the library takes a line for another one that begins with it.
Outcome editSections(Transaction& change, const Site& site, const Arguments& given, const BlockTest& test,
                     const BlockCall& call, const StatementTest& inner = {});

}  // namespace zpweb
