// What switching Perl on and off for a site have in common.
#pragma once

#include <functional>
#include <string>

#include "conf/Rewrite.h"
#include "conf/SiteDirectoryScan.h"

namespace zp {

// Writes what a line becomes: itself, with more, or nothing.
using PerlEdit =
    std::function<void(conf::Rewrite& rewrite, conf::SiteDirectoryScan& scan, const conf::Line& line)>;

// Rewrites the configuration through `edit`, without its empty lines; the scan looks for the <Directory>
// blocks of the site's document root. False when a file cannot be opened, read to its end or written.
[[nodiscard]] bool rewriteForPerl(const std::string& configuration, const std::string& domain,
                                  const PerlEdit& edit);

}  // namespace zp
