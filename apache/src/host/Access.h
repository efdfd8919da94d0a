// Who may do what with a file: owner, mode, ACL and the other attributes that it carries.
#pragma once

namespace zp::host {

// Gives the open file `to` those of the open file `from`. False when one that restricts access could not be
// given; an owner that this process may not give is let pass, and so is an attribute that the file system
// of `to` does not know.
[[nodiscard]] bool takeOverAccess(int from, int to);

}  // namespace zp::host
