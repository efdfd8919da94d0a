// Moving a site's blocks from one address to another.
#pragma once

#include <functional>
#include <string>

#include "conf/Rewrite.h"

namespace zp::conf {

struct SiteMove {
    std::string domain;
    std::string from;     // the address, without brackets and port
    std::string opening;  // the line that opens the site's blocks from now on
};

// Copies the file, empty lines outside blocks at the old address left out. Each block at that address in
// which a ServerName line names the site gets the new opening line; everything else in such blocks stays as
// it is. A NameVirtualHost line outside of them is handed to `onNameVirtualHost`, which writes what becomes
// of it. True when a block of the site was moved.
[[nodiscard]] bool readdress(Rewrite& rewrite, const SiteMove& move,
                             const std::function<void(const Line&)>& onNameVirtualHost);

}  // namespace zp::conf
