// Whole folder trees.
#pragma once

#include <string>

namespace zp::host {

// Removes a folder and all that it holds. A link in it is removed as a link, and so is one in its place
// when a folder stands behind it. False, and the rest stays, at the first folder that cannot be read or
// removed and at a link that leads nowhere. Whether a file could be removed is not examined.
[[nodiscard]] bool removeTree(const std::string& path);

}  // namespace zp::host
