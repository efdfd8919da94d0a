#include "conf/AppendLine.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <optional>

#include "conf/Text.h"
#include "host/WriteAll.h"

namespace zp::conf {

namespace {

// Does the file end inside a line? Absent when that cannot be read.
std::optional<bool> endsInsideLine(int descriptor, off_t size) {
    char last = '\n';
    if (size > 0 && ::pread(descriptor, &last, 1, size - 1) != 1) {
        return std::nullopt;
    }
    return last != '\n';
}

bool appendTo(int descriptor, std::string_view line) {
    struct stat status {};
    if (::fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode)) {
        return false;
    }
    const auto insideLine = endsInsideLine(descriptor, status.st_size);
    if (!insideLine) {
        return false;
    }
    std::string text(*insideLine ? "\n" : "");
    text.append(line).append("\n");
    if (host::writeAll(descriptor, text) && ::fsync(descriptor) == 0) {
        return true;
    }
    static_cast<void>(!::ftruncate(descriptor, status.st_size));
    return false;
}

constexpr int Appending = O_RDWR | O_APPEND | O_CLOEXEC | O_NOCTTY | O_NONBLOCK;

bool append(host::Descriptor file, std::string_view line) {
    if (!file.isOpen()) {
        return false;
    }
    const bool appended = appendTo(file.number(), line);
    return ::close(file.release()) == 0 && appended;
}

}  // namespace

bool appendLine(const std::string& path, std::string_view line) {
    return isOneLine(line) && append(host::Descriptor(::open(path.c_str(), Appending)), line);
}

bool appendLine(const host::HeldFile& file, std::string_view line) {
    return isOneLine(line) && append(file.open(Appending | O_CREAT), line);
}

}  // namespace zp::conf
