#include "server/ErrorLog.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "conf/Text.h"
#include "sys/Descriptor.h"

namespace zpweb {

namespace {

constexpr size_t MostRead = 64UL * 1024;

bool hasWeight(std::string_view line) {
    for (const char* level :
         {":emerg]", ":alert]", ":crit]", ":error]", "Syntax error", "no listening sockets"}) {
        if (zp::conf::contains(line, level)) {
            return true;
        }
    }
    return false;
}

}  // namespace

ErrorLog::ErrorLog(std::string path) : path_(std::move(path)) {
    struct stat status {};
    begin_ = ::stat(path_.c_str(), &status) == 0 && S_ISREG(status.st_mode)
                 ? static_cast<size_t>(status.st_size)
                 : 0;
}

std::string ErrorLog::said() const {
    const Descriptor file(::open(path_.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    struct stat status {};
    if (!file.isOpen() || ::fstat(file.number(), &status) != 0 || !S_ISREG(status.st_mode)) {
        return {};
    }
    std::string text(MostRead, '\0');
    const ssize_t size = ::pread(file.number(), text.data(), text.size(), static_cast<off_t>(begin_));
    std::string_view rest = std::string_view(text).substr(0, size > 0 ? static_cast<size_t>(size) : 0);
    std::string_view last;
    while (!rest.empty()) {
        const std::string_view line = zp::conf::upTo(rest, "\n");
        rest = zp::conf::stepOver(rest, line.size() + 1);
        last = hasWeight(line) ? line : last;
    }
    return std::string(last);
}

}  // namespace zpweb
