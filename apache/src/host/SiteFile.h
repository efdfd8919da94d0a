// A file in a folder where a site's owner can write.
#pragma once

#include <sys/types.h>

#include <optional>
#include <string>

#include "host/Folder.h"

namespace zp::host {

// It is never reached through a link that somebody other than the administrator can have placed, on the way
// to it or in its place.
class SiteFile {
public:
    // Blocked: such a link, or something that is no plain file, stands in the way.
    enum class State { Missing, Present, Blocked };

    explicit SiteFile(const std::string& path);

    const std::string& path() const { return path_; }
    State state() const;
    bool isPresent() const { return state() == State::Present; }
    bool isBlocked() const { return state() == State::Blocked; }

    // Makes it new and empty, readable by its owner alone. False when that cannot be done.
    [[nodiscard]] bool make() const;
    std::optional<off_t> size() const;  // absent when it is not Present
    void setMode(mode_t mode) const;
    void remove() const;

private:
    std::string path_, name_;
    std::optional<Folder> folder_;
};

}  // namespace zp::host
