// The rewrite of a file: its lines going in, a scratch copy going out, and one of two ends.
#pragma once

#include <string>

#include "conf/LineReader.h"
#include "conf/ScratchFile.h"
#include "host/HeldFile.h"

namespace zp::conf {

// Keeps a copy of the file under its name plus `suffix`. Whether that worked is not examined.
void backUp(const std::string& file, const std::string& suffix);

class Rewrite {
public:
    // Which of the two files is opened first decides what a failure leaves behind: a source that cannot be
    // opened leaves an empty scratch file when that came first, and none otherwise.
    enum class Order { SourceFirst, ScratchFirst };

    Rewrite(const std::string& file, const std::string& scratch, size_t bound,
            Order order = Order::SourceFirst, FinalRead finalRead = FinalRead::LeftOut,
            ScratchFile::Opening opening = ScratchFile::Opening::Fresh);
    // Of a file on held ground, which has to outlive this: its scratch copy stands beside it, under its
    // name plus `suffix`.
    Rewrite(const host::HeldFile& file, const std::string& suffix, size_t bound);

    bool sourceOpen() const { return source_.isOpen(); }
    bool scratchOpen() const { return scratch_ != nullptr && scratch_->isOpen(); }
    bool open() const { return sourceOpen() && scratchOpen(); }

    LineReader& source() { return source_; }
    [[nodiscard]] bool read(Line& line) { return source_.read(line); }

    void keep(const Line& line) { scratch_->copyLine(line.raw()); }
    // Several lines that were read, each with its newline.
    void keepAll(std::string_view lines) {
        if (!lines.empty()) {
            scratch_->copyLine(lines.substr(0, lines.size() - 1));
        }
    }
    void write(std::string_view line) { scratch_->writeLine(line); }
    // True while the source could be read and the scratch copy written.
    [[nodiscard]] bool intact() { return scratch_->flush() && !source_.failed(); }
    // Which of two results tells why the file could not be rewritten: that of a source that cannot be
    // opened, or read to its end, or that of the scratch copy.
    template <class Result>
    Result blame(Result ofSource, Result ofScratch) const {
        return sourceOpen() && !source_.failed() ? ofScratch : ofSource;
    }

    // The ends: the scratch copy replaces the file (false, and it is removed, when it is not whole), or it
    // is removed if it is still there. Without either it stays where it is.
    [[nodiscard]] bool putInPlace();
    void discard();

private:
    std::string file_;
    bool isHeld_ = false;
    std::unique_ptr<ScratchFile> scratch_;
    LineReader source_;
};

}  // namespace zp::conf
