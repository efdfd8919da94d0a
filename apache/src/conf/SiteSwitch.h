// Switching a site off and on: the lines of its <VirtualHost> blocks are commented out and in.
#pragma once

#include <string>

namespace zp::conf {

enum class SwitchTo { Off, On };

// Rewrites the file without its empty lines, every block of the domain switched. A block is held back until
// it ends: one that never does is lost. The file stays as it is where no block is the domain's; none that
// is not commented out yet, for a site that goes off. False when it cannot be opened, read to its end or
// written. Throws std::out_of_range where a line to be commented in holds comment marks alone.
[[nodiscard]] bool switchSite(const std::string& file, const std::string& scratch,
                              const std::string& domain, SwitchTo state);

}  // namespace zp::conf
