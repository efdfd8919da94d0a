// Whole directory trees, walked from open directory to open directory with two descriptors, however deep.
#pragma once

#include <sys/stat.h>

#include <functional>
#include <optional>
#include <string>

namespace zp::host {

// What is done on the way. False ends the walk.
struct TreeSteps {
    // At each entry, in the open directory that it stands in. A directory is entered afterwards.
    std::function<bool(int directory, const char* name)> entry;
    // Behind a directory's last entry, in the one that it stands in.
    std::function<bool(int parent, const char* name)> behind;
};

// Walks below the open directory. No link is followed, and what is mounted there is passed over: an owner
// and a mode that a site's directory gets, or its removal, are not for what somebody has bound into it.
// False where the walk was ended, where a directory cannot be read, and where one was moved meanwhile.
[[nodiscard]] bool walkTree(int directory, const TreeSteps& steps);

// Removes a directory and all that it holds. A link in it is removed as a link, and so is one in its place
// when a directory stands behind it. False, and the rest stays, at the first directory that cannot be read
// or removed, where a link that others than the administrator can have placed is on the way and, if it
// shall, at a link that leads nowhere. What is mounted in it stays, and so do the directories above.
// Whether a file could be removed is not examined. With an inode, another directory in its place stays.
// Where all goes, each directory is closed to others before its entries are looked at.
enum class DanglingLink { Ends, Goes };
[[nodiscard]] bool removeTree(const std::string& path, DanglingLink dangling,
                              std::optional<ino_t> inode = {});

}  // namespace zp::host
