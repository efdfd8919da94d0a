// What a site's owner places on the way to a file that root writes, so that root writes elsewhere or waits
// for ever.
#pragma once

#include <optional>
#include <string>

#include "sys/Outcome.h"

namespace zpweb {

struct Trap {
    enum class Kind { DirectoryLink, FileLink, Pipe };
    Kind kind;
    std::string path;
};

// The first on the way to a file, or in its place: a symbolic link or a named pipe that others than root
// have placed. Root's own links are followed, and what they lead to is looked at as well.
std::optional<Trap> trapOn(const std::string& path);

// Where a link stood for a directory, an empty one of root's takes its place.
Outcome removeTrap(const Trap& trap);

}  // namespace zpweb
