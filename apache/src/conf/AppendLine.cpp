#include "conf/AppendLine.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "conf/Text.h"
#include "conf/WriteAll.h"

namespace zp::conf {

namespace {

constexpr mode_t NewFileMode = 0644;

bool endsInsideLine(int descriptor, off_t size) {
    char last = '\n';
    return size > 0 && ::pread(descriptor, &last, 1, size - 1) == 1 && last != '\n';
}

bool appendTo(int descriptor, std::string_view line) {
    struct stat status {};
    if (::fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode)) {
        return false;
    }
    std::string text(endsInsideLine(descriptor, status.st_size) ? "\n" : "");
    text.append(line).append("\n");
    if (writeAll(descriptor, text)) {
        return true;
    }
    static_cast<void>(!::ftruncate(descriptor, status.st_size));
    return false;
}

}  // namespace

bool appendLine(const std::string& path, std::string_view line, Links links) {
    if (!isOneLine(line)) {
        return false;
    }
    const int follow = links == Links::Refused ? O_NOFOLLOW : 0;
    const int descriptor =
        ::open(path.c_str(), O_RDWR | O_APPEND | O_CREAT | O_CLOEXEC | O_NOCTTY | O_NONBLOCK | follow,
               NewFileMode);
    if (descriptor < 0) {
        return false;
    }
    const bool appended = appendTo(descriptor, line);
    return ::close(descriptor) == 0 && appended;
}

}  // namespace zp::conf
