#include "host/Install.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "host/Accounts.h"
#include "host/Folder.h"
#include "host/Paths.h"
#include "host/Shell.h"

namespace zp::host {

namespace {

// The owner goes first: a change of owner clears the set-ID bits, and they must never hold for another one.
void giveToRoot(const std::string& path, mode_t mode) {
    const auto root = findAccount("root");
    const int file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK);
    if (file < 0) {
        return;
    }
    struct stat status {};
    if (root && ::fstat(file, &status) == 0 && S_ISREG(status.st_mode) &&
        ::fchown(file, root->user, root->group) == 0) {
        static_cast<void>(::fchmod(file, mode));
    }
    ::close(file);
}

}  // namespace

void makeMissingFolder(const std::string& path, mode_t mode) {
    if (Folder::open(path)) {
        return;
    }
    const auto [parentPath, name] = locationOf(path);
    const auto parent = Folder::open(parentPath);
    const auto folder = parent ? parent->make(name, mode) : std::nullopt;
    if (folder) {
        folder->setMode(mode);
    }
}

void installFile(const std::string& source, const std::string& target, mode_t mode) {
    run({program::Copy, source, target});
    giveToRoot(target, mode);
}

}  // namespace zp::host
