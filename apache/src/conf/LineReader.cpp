#include "conf/LineReader.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <utility>

#include "host/Machine.h"

namespace zp::conf {

namespace {

constexpr size_t BufferSize = size_t{128} * 1024;  // more than any operation's bound

// Opening never waits for a writer: a pipe is refused, like a directory.
host::Descriptor openFile(const std::string& path) {
    host::Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK));
    struct stat status {};
    if (!file.isOpen() || ::fstat(file.number(), &status) != 0) {
        host::noteFault(path);
        file.close();
    } else if (!S_ISREG(status.st_mode) && !S_ISCHR(status.st_mode)) {
        file.close();
    }
    return file;
}

// The last block that is searched may reach behind what was read.
char* newBuffer(size_t capacity) { return new char[capacity + NewlineBlock]; }

}  // namespace

LineReader::LineReader(const std::string& path, size_t bound, FinalRead finalRead)
    : LineReader(openFile(path), bound, finalRead) {}

LineReader::LineReader(host::Descriptor file, size_t bound, FinalRead finalRead)
    : file_(std::move(file)),
      bound_(bound),
      finalRead_(finalRead),
      buffer_(isOpen() ? newBuffer(BufferSize) : nullptr),
      capacity_(BufferSize) {}

bool LineReader::readOn(Line& line, size_t bound) {
    if (ended_ || !isOpen()) {
        return false;
    }
    if (end_ - begin_ > bound) {
        return end();
    }
    if (fill()) {
        return read(line, bound);
    }
    line = Line({buffer_.get() + begin_, end_ - begin_});
    end();
    return !failed_ && (!line.isEmpty() || finalRead_ == FinalRead::Counted);
}

bool LineReader::fill() {
    if (atFileEnd_) {
        return false;
    }
    const size_t held = end_ - begin_;
    if (held == capacity_) {  // only a line without a bound fills the whole buffer
        std::unique_ptr<char[]> larger(newBuffer(capacity_ * 2));
        std::memcpy(larger.get(), buffer_.get() + begin_, held);
        buffer_ = std::move(larger);
        capacity_ *= 2;
    } else if (begin_ > 0) {
        std::memmove(buffer_.get(), buffer_.get() + begin_, held);
    }
    begin_ = 0;
    end_ = held;
    ssize_t count = 0;
    do {
        count = ::read(file_.number(), buffer_.get() + end_, capacity_ - end_);
    } while (count < 0 && errno == EINTR);
    failed_ = count < 0;
    if (failed_) {
        host::noteFault("a file that is read");
    }
    atFileEnd_ = count <= 0;
    end_ += count > 0 ? static_cast<size_t>(count) : 0;
    std::memset(buffer_.get() + end_, 0, NewlineBlock);
    block_ = 0;
    newlines_ = newlinesIn(buffer_.get());
    return !atFileEnd_;
}

bool LineReader::end() {
    ended_ = true;
    begin_ = block_ = end_;
    newlines_ = 0;
    return false;
}

bool skipVirtualHost(LineReader& reader, size_t bound) {
    for (Line line; reader.read(line, bound);) {
        if (line.begins(keyword::VirtualHostEnd)) {
            return true;
        }
    }
    return false;
}

}  // namespace zp::conf
