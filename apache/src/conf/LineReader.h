// The lines of a file, through one buffer.
#pragma once

#include <bit>
#include <cstddef>
#include <memory>
#include <string>

#include "conf/Bounds.h"
#include "conf/Line.h"
#include "conf/Newlines.h"
#include "host/Descriptor.h"

namespace zp::conf {

// A file that ends in a newline (or is empty) has an empty rest behind it. A reader leaves it out unless it
// is asked for: operations that count it copy one more empty line.
enum class FinalRead { LeftOut, Counted };

class LineReader {
public:
    // A directory or a pipe, like a missing file, is not open.
    LineReader(const std::string& path, size_t bound, FinalRead finalRead = FinalRead::LeftOut);
    // A file that is open already.
    LineReader(host::Descriptor file, size_t bound, FinalRead finalRead = FinalRead::LeftOut);

    bool isOpen() const { return file_.isOpen(); }
    int descriptor() const { return file_.number(); }

    // The next line of at most `bound` characters. False at the end of the file and at a longer line, which
    // ends the file for good: it is not examined, and what stands behind it is not seen.
    [[nodiscard]] bool read(Line& line) { return read(line, bound_); }
    [[nodiscard]] bool read(Line& line, size_t bound) {
        while (newlines_ == 0) {
            block_ += NewlineBlock;
            if (block_ >= end_) {
                return readOn(line, bound);
            }
            newlines_ = newlinesIn(buffer_.get() + block_);
        }
        const size_t newline = block_ + static_cast<size_t>(std::countr_zero(newlines_));
        if (newline - begin_ > bound) {
            return end();
        }
        line = Line({buffer_.get() + begin_, newline - begin_});
        begin_ = newline + 1;
        newlines_ &= newlines_ - 1;
        return true;
    }

    // The file could not be read to its end (an I/O error, not a long line).
    bool failed() const { return failed_; }

private:
    bool readOn(Line& line, size_t bound);  // behind the last newline of what is held
    bool fill();                            // false at the end of the file
    bool end();

    host::Descriptor file_;
    size_t bound_;
    FinalRead finalRead_;
    bool ended_ = false;
    bool failed_ = false;
    bool atFileEnd_ = false;
    std::unique_ptr<char[]> buffer_;
    size_t capacity_;
    size_t begin_ = 0, end_ = 0;  // what is read and not handed out yet
    size_t block_ = 0;            // where lines are being searched for, and their ends in it
    uint64_t newlines_ = 0;
};

// Reads on to the line that ends a <VirtualHost> block. False when the reading ended before.
[[nodiscard]] bool skipVirtualHost(LineReader& reader, size_t bound);

}  // namespace zp::conf
