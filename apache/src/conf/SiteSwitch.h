// Switching a site off and on: the lines of its <VirtualHost> blocks are commented out and in.
#pragma once

#include <string_view>

#include "conf/Rewrite.h"

namespace zp::conf {

enum class SwitchTo { Off, On };

// Copies the source without its empty lines, every block of the domain switched. A block is held back until
// it ends: one that never does is lost. False when there is no block of the domain; no block that is not
// commented out yet, for a site that goes off. Throws std::out_of_range where a line to be commented in
// holds comment marks alone.
[[nodiscard]] bool switchSite(Rewrite& rewrite, std::string_view domain, SwitchTo state);

}  // namespace zp::conf
