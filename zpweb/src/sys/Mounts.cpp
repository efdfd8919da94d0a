#include "sys/Mounts.h"

#include <mntent.h>

#include <cstdio>
#include <memory>

#include "sys/File.h"

namespace zpweb {

std::optional<std::string> mountIn(const std::string& directory) {
    const auto real = realPathOf(directory);
    const std::unique_ptr<FILE, int (*)(FILE*)> table(::setmntent("/proc/self/mounts", "re"), ::endmntent);
    if (!real.ok() || !table) {
        return std::nullopt;
    }
    while (const mntent* mount = ::getmntent(table.get())) {
        const std::string place = mount->mnt_dir;
        if ((place + "/").starts_with(*real + "/")) {
            return place;
        }
    }
    return std::nullopt;
}

}  // namespace zpweb
