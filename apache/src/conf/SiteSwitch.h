// Switching a site off and on: the lines of its <VirtualHost> blocks are commented out and in.
#pragma once

#include <string_view>

#include "conf/Rewrite.h"

namespace zp::conf {

inline constexpr size_t SiteSwitchBound = 29999;

enum class SwitchTo { Off, On };

enum class Switched {
    Nothing,  // no block of the domain; none that is not commented out yet, for a site that goes off
    Blocks,
    // A line of its block holds nothing but comment marks, so no directive is left to comment in. The copy
    // ends there.
    Impossible,
};

// Copies the source without its empty lines, every block of the domain switched. A block is held back until
// it ends: one that never does is lost.
[[nodiscard]] Switched switchSite(Rewrite& rewrite, std::string_view domain, SwitchTo state);

}  // namespace zp::conf
