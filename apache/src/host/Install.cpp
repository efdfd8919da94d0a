#include "host/Install.h"

#include "host/FileSystem.h"
#include "host/Machine.h"
#include "host/Paths.h"
#include "host/Shell.h"

namespace zp::host {

void makeMissingDirectory(const std::string& path, mode_t mode) {
    if (!isDirectory(path)) {
        static_cast<void>(
            machine().effect({.step = Effect::Step::MakeDirectory, .path = path, .mode = mode}));
    }
}

void installFile(const std::string& source, const std::string& target, mode_t mode) {
    run({program::Copy, source, target});
    static_cast<void>(machine().effect({.path = target, .user = 0, .group = 0, .mode = mode}));
}

}  // namespace zp::host
