// A file on held ground, as a site's owner has them: ".htaccess", password files, logs.
#pragma once

#include <sys/types.h>

#include <optional>
#include <string>

#include "host/HeldDirectory.h"

namespace zp::host {

class HeldFile {
public:
    // Blocked: nothing is done with it. Its directory cannot be held, or it is no plain file. Where others
    // than the administrator write, so is a file with a second link, one that is set-ID, one whose owner is
    // neither the administrator nor the directory's, and one of more than `LargestOfOwner` bytes.
    // Unknown: that could not be found out.
    enum class State { Missing, Present, Blocked, Unknown };
    enum class Size { Any, Small };
    static constexpr off_t LargestOfOwner = off_t{1024} * 1024;

    explicit HeldFile(const std::string& path, Size size = Size::Small);

    const std::string& path() const { return path_; }
    const std::string& name() const { return name_; }
    const HeldDirectory* directory() const { return directory_ ? &*directory_ : nullptr; }
    bool othersWrite() const { return !directory_ || directory_->othersWrite(); }

    State state() const;
    bool isPresent() const { return state() == State::Present; }
    bool isUsable() const { return state() == State::Present || state() == State::Missing; }
    std::optional<off_t> size() const;  // absent when it is not Present

    // The file itself, whatever becomes of its name; not open when it is not Present. With O_CREAT among
    // the flags a missing one is made, with mode 0644.
    Descriptor open(int flags) const;
    [[nodiscard]] bool remove() const;  // nothing there counts as removed

private:
    bool isFit(int file) const;

    std::string path_, name_;
    Size size_;
    std::optional<HeldDirectory> directory_;
    State withoutDirectory_ = State::Missing;
};

// A path to an open file, for programs that ask for one; it leads there as long as the file is open here.
std::string pathOf(int file);

}  // namespace zp::host
