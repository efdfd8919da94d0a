#include "host/File.h"

#include <sys/stat.h>
#include <unistd.h>

namespace zp::host {

std::optional<off_t> sizeOfFile(const std::string& path) {
    struct stat status {};
    if (::stat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) {
        return std::nullopt;
    }
    return status.st_size;
}

mode_t modeAndTypeOf(const std::string& path) {
    struct stat status {};
    return ::stat(path.c_str(), &status) == 0 ? status.st_mode : 0;
}

void removeFile(const std::string& path) { static_cast<void>(::unlink(path.c_str())); }

}  // namespace zp::host
