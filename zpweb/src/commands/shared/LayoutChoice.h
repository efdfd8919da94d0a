// Which layout a new site, or one that moves, gets.
#pragma once

#include <optional>
#include <string>

#include "commands/table/Parameter.h"
#include "server/Layout.h"
#include "sys/Outcome.h"

namespace zpweb {

inline constexpr auto LayoutWord =
    option("--layout", Kind::Choice, "files|main",
           "A file of its own, or the main file (default: the main file where the panel is, else a file "
           "where the server keeps its sites in files)");

// Is the panel installed here? Then its habits are the defaults.
bool hasPanel();

Expected<Layout> chosenLayout(const Configuration& configuration, const std::optional<std::string>& word);

}  // namespace zpweb
