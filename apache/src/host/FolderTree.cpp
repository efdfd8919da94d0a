#include "host/FolderTree.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string_view>

#include "host/Folder.h"

namespace zp::host {

namespace {

bool removeFolder(int parent, const char* name);

bool removeEntry(int parent, const char* name) {
    struct stat behind {};
    struct stat itself {};
    if (::fstatat(parent, name, &behind, 0) != 0 ||
        ::fstatat(parent, name, &itself, AT_SYMLINK_NOFOLLOW) != 0) {
        return false;
    }
    if (S_ISDIR(itself.st_mode)) {
        return removeFolder(parent, name);
    }
    static_cast<void>(::unlinkat(parent, name, 0));
    return true;
}

bool removeEntries(DIR* listing) {
    for (const dirent* entry = ::readdir(listing); entry != nullptr; entry = ::readdir(listing)) {
        const std::string_view name = entry->d_name;
        if (name != "." && name != ".." && !removeEntry(::dirfd(listing), entry->d_name)) {
            return false;
        }
    }
    return true;
}

// Works from open folder to open folder, so that no path is looked up anew while it goes.
bool removeFolder(int parent, const char* name) {
    const int descriptor = ::openat(parent, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    DIR* listing = descriptor < 0 ? nullptr : ::fdopendir(descriptor);
    if (listing == nullptr) {
        return false;
    }
    const bool emptied = removeEntries(listing);
    ::closedir(listing);
    return emptied && ::unlinkat(parent, name, AT_REMOVEDIR) == 0;
}

}  // namespace

bool removeTree(const std::string& path) {
    const std::string itself = withoutTrailingSlashes(path);
    if (isLink(itself)) {
        return isFolder(itself) && ::unlink(itself.c_str()) == 0;
    }
    return removeFolder(AT_FDCWD, itself.c_str());
}

}  // namespace zp::host
