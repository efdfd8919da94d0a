// Password files of the web server, in directories where a site's owner can write.
#pragma once

#include <string>

namespace zp::host {

// Makes an empty password file unless there is one, and gives the file to `owner` and the panel's group (no
// owner: to nobody). Where something else is in the way, or a link that others than the administrator can
// have placed, nothing is done.
void providePasswordFile(const std::string& path, const std::string& owner);

}  // namespace zp::host
