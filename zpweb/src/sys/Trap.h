// What a site's owner places on the way to a log, so that root writes elsewhere or waits for ever, or that
// the server ends because it cannot open it.
#pragma once

#include <optional>
#include <string>

#include "sys/Outcome.h"

namespace zpweb {

struct Trap {
    enum class Kind { DirectoryLink, FileLink, Pipe, NoLog };
    Kind kind;
    std::string path;
};

// The first on the way to a file, or in its place: a symbolic link or a named pipe that others than root
// have placed, or what cannot be opened to write: a directory, a socket, a program that runs, a file system
// of an account's that lets nobody else in. Root's own links are followed, and what they lead to is looked
// at as well.
std::optional<Trap> trapOn(const std::string& path);

// Where a link stood for a directory, an empty one of root's takes its place. What is no log is moved
// aside.
Outcome removeTrap(const Trap& trap);

}  // namespace zpweb
