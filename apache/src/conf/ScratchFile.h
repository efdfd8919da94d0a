// The new text of a file, on its way into the place of the old one.
#pragma once

#include <cstring>
#include <memory>
#include <string>
#include <string_view>

#include "host/Descriptor.h"

namespace zp::conf {

class ScratchFile {
public:
    enum class Opening { Fresh, Append };

    // A fresh scratch file is a new one, readable by its owner alone: what stands at `path` goes first.
    // Nothing but a plain file or a link is ever removed for it.
    explicit ScratchFile(const std::string& path, Opening opening = Opening::Fresh);
    // On held ground, in the open directory, which has to outlive it.
    ScratchFile(int directory, const std::string& name);
    ~ScratchFile();  // leaves the file where it is, written as far as it got
    ScratchFile(const ScratchFile&) = delete;
    ScratchFile& operator=(const ScratchFile&) = delete;

    bool isOpen() const { return file_.isOpen(); }
    int descriptor() const { return file_.number(); }

    // Writes one line and its newline. A text that holds a newline is refused: it counts as a failed write.
    void writeLine(std::string_view text);
    // The same for a line that was read, and so holds none.
    void copyLine(std::string_view raw) {
        if (raw.size() < BufferSize - used_ && isOpen()) {
            std::memcpy(buffer_.get() + used_, raw.data(), raw.size());
            used_ += raw.size();
            buffer_[used_++] = '\n';
            return;
        }
        append(raw);
        append("\n");
    }
    // A text of many lines, as it stands.
    void copyText(std::string_view text) { append(text); }
    // True while everything written so far has reached the file.
    [[nodiscard]] bool flush();

    // Gives the scratch file the access of the open file `source` (-1: it keeps its own) and moves it to
    // `target`; where that is a symbolic link, over the file that it points at. False, and the scratch file
    // is removed, when it is not whole or could not be brought to the disk.
    [[nodiscard]] bool moveTo(const std::string& target, int source);
    // The same without a command, synced and renamed here. On held ground `name` is one of the scratch
    // file's own directory, and a link in its place goes.
    [[nodiscard]] bool renameTo(const std::string& name, int source);
    void remove();

private:
    static constexpr size_t BufferSize = size_t{256} * 1024;

    void append(std::string_view text);
    bool finish(int source);
    void close();

    int directory_;
    std::string path_;
    host::Descriptor file_;
    bool whole_ = true;
    size_t used_ = 0;
    unsigned flushes_ = 0;
    std::unique_ptr<char[]> buffer_;
};

}  // namespace zp::conf
